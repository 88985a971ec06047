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

  /// No value when there is no such variable or it cannot be read; `invalidArgument` when its value
  /// has a type that property lists do not have.
  virtual PosixResult<std::optional<PropertyValue>> value(const std::string& name) = 0;

  /// Sets or creates a variable: a string, data, or another type that the port can store.
  /// `badArgument` for an invalid name or value.
  virtual KernelReturn set(const std::string& name, const PropertyValue& value) = 0;
};

/// Thread-safe.
class Nvram {
 public:
  virtual ~Nvram() = default;

  /// Null on a computer whose firmware has no variables.
  virtual Result<std::unique_ptr<NvramOptions>, KernelReturn> options() = 0;
};

}  // namespace qrt
