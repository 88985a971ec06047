#include "platform/linux/signing/MachO.h"

#include <algorithm>

namespace qrt {
namespace {

constexpr std::uint32_t universalMagic = 0xCAFEBABE;
constexpr std::uint32_t universalMagic64 = 0xCAFEBABF;
/// More than there are processor types; files of another kind have the same magic number and a
/// larger one here.
constexpr std::uint32_t mostPrograms = 16;

constexpr std::uint32_t signatureCommand = 0x1D;

struct ProgramKind {
  std::uint32_t magic;
  ByteOrder order;
  std::uint64_t headerSize;
};

/// By the magic number as read in big-endian order.
constexpr ProgramKind programKinds[] = {
    {0xFEEDFACE, ByteOrder::big, 28},
    {0xFEEDFACF, ByteOrder::big, 32},
    {0xCEFAEDFE, ByteOrder::little, 28},
    {0xCFFAEDFE, ByteOrder::little, 32},
};

const ProgramKind* kindOf(Bytes head) {
  const auto magic = numberAt<std::uint32_t>(head, 0);
  const auto* kind =
      std::find_if(std::begin(programKinds), std::end(programKinds),
                   [&](const ProgramKind& each) { return magic && each.magic == *magic; });
  return kind == std::end(programKinds) ? nullptr : kind;
}

/// The record of one program in the table of a universal file.
std::optional<FileRange> universalRecord(Bytes head, std::uint32_t index, bool is64) {
  constexpr std::uint64_t tableStart = 8;
  if (is64) {
    const auto record = tableStart + index * std::uint64_t{32};
    const auto offset = numberAt<std::uint64_t>(head, record + 8);
    const auto size = numberAt<std::uint64_t>(head, record + 16);
    if (!offset || !size) return std::nullopt;
    return FileRange{*offset, *size};
  }
  const auto record = tableStart + index * std::uint64_t{20};
  const auto offset = numberAt<std::uint32_t>(head, record + 8);
  const auto size = numberAt<std::uint32_t>(head, record + 12);
  if (!offset || !size) return std::nullopt;
  return FileRange{*offset, *size};
}

bool areApart(std::vector<FileRange> ranges) {
  std::sort(ranges.begin(), ranges.end(),
            [](const FileRange& a, const FileRange& b) { return a.offset < b.offset; });
  return std::adjacent_find(ranges.begin(), ranges.end(), [](const auto& a, const auto& b) {
           return b.offset - a.offset < a.size;
         }) == ranges.end();
}

}  // namespace

std::vector<FileRange> machOPrograms(Bytes head, std::uint64_t fileSize) {
  if (kindOf(head)) return {{0, fileSize}};
  const auto magic = numberAt<std::uint32_t>(head, 0);
  const auto count = numberAt<std::uint32_t>(head, 4);
  const bool is64 = magic == universalMagic64;
  if (!count || *count > mostPrograms || !(is64 || magic == universalMagic)) return {};
  std::vector<FileRange> programs;
  for (std::uint32_t i = 0; i < *count; ++i) {
    const auto record = universalRecord(head, i, is64);
    if (!record || !isWithin(fileSize, record->offset, record->size)) return {};
    programs.push_back(*record);
  }
  return areApart(programs) ? programs : std::vector<FileRange>();
}

std::optional<FileRange> machOSignature(Bytes head, std::uint64_t programSize) {
  const auto* kind = kindOf(head);
  if (!kind) return std::nullopt;
  const auto number = [&](std::uint64_t offset) {
    return numberAt<std::uint32_t>(head, offset, kind->order);
  };
  const auto count = number(16), commandsSize = number(20);
  if (!count || !commandsSize) return std::nullopt;
  const auto end = kind->headerSize + *commandsSize;
  std::optional<FileRange> signature;
  auto command = kind->headerSize;
  for (std::uint32_t i = 0; i < *count; ++i) {
    const auto type = number(command), size = number(command + 4);
    if (!size || *size < 8 || command + *size > end) return std::nullopt;
    if (type == signatureCommand) {
      const auto dataOffset = number(command + 8), dataSize = number(command + 12);
      if (signature || !dataOffset || !dataSize) return std::nullopt;
      signature = FileRange{*dataOffset, *dataSize};
    }
    command += *size;
  }
  const bool isLast = signature && signature->offset + signature->size == programSize;
  return isLast ? signature : std::nullopt;
}

}  // namespace qrt
