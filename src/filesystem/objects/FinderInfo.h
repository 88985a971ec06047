// The classic attributes of a file: type, creator and whether it is hidden.
#pragma once

#include <cstdint>

#include "base/PropertyValue.h"
#include "platform/ExtendedAttributes.h"

namespace qrt {

/// A record of 32 bytes, big-endian; what this program does not know in it is kept.
class FinderInfo {
 public:
  /// A record that says nothing, which is the same as none.
  FinderInfo() : record_(size) {}

  /// The object's record; one that says nothing when it has none.
  static PosixResult<FinderInfo> read(ExtendedAttributes& attributes, const HeldObject& object);
  /// Removes the object's record when this one says nothing.
  PosixCode write(ExtendedAttributes& attributes, const HeldObject& object) const;

  std::uint32_t typeCode() const;
  std::uint32_t creatorCode() const;
  bool isHidden() const;

  void setTypeCode(std::uint32_t code);
  void setCreatorCode(std::uint32_t code);
  void setHidden(bool isHidden);

  /// Type, creator and whether the name is shown without its extension; neither what the object
  /// looks like nor whether it is hidden.
  FinderInfo withoutPlaceAndLook() const;

  bool isEmpty() const;

 private:
  static constexpr std::size_t size = 32;

  Data record_;
};

}  // namespace qrt
