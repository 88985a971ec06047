// The classic attributes of a file: type, creator and whether it is hidden.
#pragma once

#include <cstdint>

#include "base/PropertyValue.h"
#include "platform/ExtendedAttributes.h"

namespace qrt {

/// A record of 32 bytes, big-endian. Bits that this class does not know stay as they are.
class FinderInfo {
 public:
  /// An empty record, which counts as no record.
  FinderInfo() : record_(size) {}

  /// The object's record; an empty one if it has no record.
  static PosixResult<FinderInfo> read(ExtendedAttributes& attributes, const HeldObject& object);
  /// Removes the object's record if this one is empty.
  PosixCode write(ExtendedAttributes& attributes, const HeldObject& object) const;

  std::uint32_t typeCode() const;
  std::uint32_t creatorCode() const;
  bool isHidden() const;

  void setTypeCode(std::uint32_t code);
  void setCreatorCode(std::uint32_t code);
  void setHidden(bool isHidden);

  /// Type, creator and whether the name is shown without its extension; without position, look and
  /// whether the object is hidden.
  FinderInfo withoutPlaceAndLook() const;

  bool isEmpty() const;

 private:
  static constexpr std::size_t size = 32;

  Data record_;
};

}  // namespace qrt
