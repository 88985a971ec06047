// The classic attributes of a file: type, creator and whether it is hidden.
#pragma once

#include <cstdint>

#include "base/PropertyValue.h"
#include "filesystem/ItemContext.h"

namespace qrt {

/// A record of 32 bytes, big-endian; what this program does not know in it is kept.
class FinderInfo {
 public:
  /// A record that says nothing, which is the same as none.
  FinderInfo() : record_(size) {}

  /// The object's record; one that says nothing when it has none.
  static PosixResult<FinderInfo> read(const ItemContext& context, FileAt item, Links links);
  /// Removes the object's record when this one says nothing.
  PosixCode write(const ItemContext& context, FileAt item, Links links) const;

  std::uint32_t typeCode() const;
  std::uint32_t creatorCode() const;
  bool isHidden() const;

  void setTypeCode(std::uint32_t code);
  void setCreatorCode(std::uint32_t code);
  void setHidden(bool isHidden);

  /// True when an object with this type and creator needs a record.
  bool hasCodes() const { return typeCode() != 0 || creatorCode() != 0; }

 private:
  static constexpr std::size_t size = 32;

  Data record_;
};

}  // namespace qrt
