#include "platform/linux/signing/MachO.h"

#include <algorithm>

namespace qrt {
namespace {

constexpr std::uint32_t universalMagic = 0xCAFEBABE;
constexpr std::uint32_t universalMagic64 = 0xCAFEBABF;
/// More than there are processor types. Files of another kind have the same magic number and a
/// larger number in this place.
constexpr std::uint32_t mostPrograms = 16;
constexpr std::uint32_t signatureCommand = 0x1D;

struct Header {
  ByteOrder order;
  std::uint64_t size;
};

std::optional<Header> headerOf(Bytes program) {
  switch (numberAt<std::uint32_t>(program, 0).value_or(0)) {
    case 0xFEEDFACE:
      return Header{ByteOrder::big, 28};
    case 0xFEEDFACF:
      return Header{ByteOrder::big, 32};
    case 0xCEFAEDFE:
      return Header{ByteOrder::little, 28};
    case 0xCFFAEDFE:
      return Header{ByteOrder::little, 32};
    default:
      return std::nullopt;
  }
}

/// An entry in the table of a universal file. The magic number decides on the width of its numbers.
FileRange universalEntry(Bytes head, std::uint32_t index, std::uint32_t magic) {
  constexpr std::uint64_t tableStart = 8;
  if (magic == universalMagic64) {
    const auto entry = tableStart + index * std::uint64_t{32};
    return {numberAt<std::uint64_t>(head, entry + 8).value_or(0),
            numberAt<std::uint64_t>(head, entry + 16).value_or(0)};
  }
  const auto entry = tableStart + index * std::uint64_t{20};
  return {numberAt<std::uint32_t>(head, entry + 8).value_or(0),
          numberAt<std::uint32_t>(head, entry + 12).value_or(0)};
}

bool overlap(std::vector<FileRange> ranges) {
  std::sort(ranges.begin(), ranges.end(),
            [](const FileRange& a, const FileRange& b) { return a.offset < b.offset; });
  return std::adjacent_find(ranges.begin(), ranges.end(), [](const auto& a, const auto& b) {
           return b.offset - a.offset < a.size;
         }) != ranges.end();
}

}  // namespace

std::vector<FileRange> machOPrograms(Bytes head, std::uint64_t fileSize) {
  if (headerOf(head)) return {{0, fileSize}};
  const auto magic = numberAt<std::uint32_t>(head, 0);
  const auto count = numberAt<std::uint32_t>(head, 4);
  const bool isUniversal = magic == universalMagic || magic == universalMagic64;
  if (!isUniversal || !count || *count > mostPrograms) return {};
  std::vector<FileRange> programs;
  for (std::uint32_t i = 0; i < *count; ++i) {
    programs.push_back(universalEntry(head, i, *magic));
    if (!isWithin(fileSize, programs.back().offset, programs.back().size)) return {};
  }
  return overlap(programs) ? std::vector<FileRange>() : programs;
}

std::optional<FileRange> machOSignature(Bytes head, std::uint64_t programSize) {
  const auto header = headerOf(head);
  if (!header) return std::nullopt;
  const auto number = [&](std::uint64_t offset) {
    return numberAt<std::uint32_t>(head, offset, header->order);
  };
  const auto count = number(16), commandsSize = number(20);
  if (!count || !commandsSize) return std::nullopt;
  const auto end = header->size + *commandsSize;
  std::optional<FileRange> signature;
  auto command = header->size;
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
