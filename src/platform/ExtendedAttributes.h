// Named values that are attached to file-system objects.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/HeldObject.h"

namespace qrt {

/// Whether the calls see the attribute in which a file system keeps compressed contents.
enum class Compression { hidden, exposed };

/// Extended attributes of held objects; errors are contract codes. A missing attribute is
/// `noAttribute`; an empty name and a name with a zero byte are `invalidArgument`. Attributes in
/// which a system keeps access control lists are hidden. Stateless and thread-safe.
class ExtendedAttributes {
 public:
  virtual ~ExtendedAttributes() = default;

  virtual PosixResult<std::vector<std::string>> names(const HeldObject& object,
                                                      Compression compression) = 0;
  virtual PosixResult<Data> value(const HeldObject& object, const std::string& name) = 0;
  /// Adds the attribute or replaces its value.
  virtual PosixCode set(const HeldObject& object, const std::string& name, const Data& value) = 0;
  virtual PosixCode remove(const HeldObject& object, const std::string& name,
                           Compression compression) = 0;
};

}  // namespace qrt
