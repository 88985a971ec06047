// Named values that are attached to file-system objects.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/HeldObject.h"

namespace qrt {

/// Whether the attribute counts in which a file system keeps compressed contents.
enum class Compression { hidden, exposed };

/// System calls on extended attributes, in contract numbers; a missing attribute is `noAttribute`.
/// An empty name and one with a zero byte are `invalidArgument`. Access control lists that a system
/// keeps as attributes do not appear here. Every call acts on the object that is held. Stateless
/// and thread-safe.
class ExtendedAttributes {
 public:
  virtual ~ExtendedAttributes() = default;

  virtual PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                                      Compression compression) = 0;
  virtual PosixResult<Data> value(const HeldObject& object, const std::string& name) = 0;
  /// Adds or replaces.
  virtual PosixCode set(const HeldObject& object, const std::string& name, const Data& value) = 0;
  virtual PosixCode remove(const HeldObject& object, const std::string& name,
                           Compression compression) = 0;
};

}  // namespace qrt
