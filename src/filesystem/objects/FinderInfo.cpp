#include "filesystem/objects/FinderInfo.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace qrt {
namespace {

const std::string attributeName = "com.apple.FinderInfo";

constexpr std::size_t typeOffset = 0;
constexpr std::size_t creatorOffset = 4;
/// The first byte of the flags.
constexpr std::size_t flagsOffset = 8;
constexpr std::uint8_t invisible = 0x40;
/// In the second byte of the flags.
constexpr std::uint8_t extensionHidden = 0x10;

std::uint32_t codeAt(const Data& record, std::size_t offset) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) code = code << 8 | record[offset + i];
  return code;
}

void putCode(Data& record, std::size_t offset, std::uint32_t code) {
  for (std::size_t i = 0; i < 4; ++i) {
    record[offset + i] = static_cast<std::uint8_t>(code >> (24 - 8 * i));
  }
}

/// A file system without attributes counts as "no attribute".
bool meansNone(PosixCode code) {
  return code == PosixCode::noAttribute || code == PosixCode::notSupported;
}

}  // namespace

PosixResult<FinderInfo> FinderInfo::read(ExtendedAttributes& attributes, const HeldObject& object) {
  FinderInfo info;
  auto record = attributes.value(object, attributeName);
  if (record) {
    info.record_ = std::move(*record);
    info.record_.resize(size);
    return info;
  }
  if (!meansNone(record.error())) return record.error();
  return info;
}

PosixCode FinderInfo::write(ExtendedAttributes& attributes, const HeldObject& object) const {
  if (!isEmpty()) return attributes.set(object, attributeName, record_);
  const auto code = attributes.remove(object, attributeName, Compression::hidden);
  return meansNone(code) ? PosixCode::success : code;
}

FinderInfo FinderInfo::withoutPlaceAndLook() const {
  FinderInfo info;
  info.setTypeCode(typeCode());
  info.setCreatorCode(creatorCode());
  info.record_[flagsOffset + 1] = record_[flagsOffset + 1] & extensionHidden;
  return info;
}

bool FinderInfo::isEmpty() const {
  return std::all_of(record_.begin(), record_.end(), [](std::uint8_t byte) { return byte == 0; });
}

std::uint32_t FinderInfo::typeCode() const { return codeAt(record_, typeOffset); }
std::uint32_t FinderInfo::creatorCode() const { return codeAt(record_, creatorOffset); }
bool FinderInfo::isHidden() const { return (record_[flagsOffset] & invisible) != 0; }

void FinderInfo::setTypeCode(std::uint32_t code) { putCode(record_, typeOffset, code); }
void FinderInfo::setCreatorCode(std::uint32_t code) { putCode(record_, creatorOffset, code); }

void FinderInfo::setHidden(bool isHidden) {
  auto& flags = record_[flagsOffset];
  flags = isHidden ? flags | invisible : flags & ~invisible;
}

}  // namespace qrt
