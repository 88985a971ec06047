// Variables that the firmware keeps.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/KernelReturn.h"

namespace qrt {

/// The variables of this computer.
class NvramOptions {
 public:
  virtual ~NvramOptions() = default;

  /// None when there is no such variable or it cannot be read, `invalidArgument` when its value is
  /// of a type that no property list has.
  virtual PosixResult<std::optional<PropertyValue>> value(const std::string& name) = 0;

  /// Sets a variable, new or not, to a string or data, or to what else the port can keep.
  /// `badArgument` for a name or a value that cannot be one.
  virtual KernelReturn set(const std::string& name, const PropertyValue& value) = 0;
};

/// Thread-safe.
class Nvram {
 public:
  virtual ~Nvram() = default;

  /// Null on a computer whose firmware keeps none.
  virtual Result<std::unique_ptr<NvramOptions>, KernelReturn> options() = 0;
};

}  // namespace qrt
