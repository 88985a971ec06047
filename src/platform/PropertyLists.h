// Property lists as bytes.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Thread-safe.
class PropertyLists {
 public:
  /// What a reader accepts; more is a parse error.
  static constexpr std::size_t maximumBytes = 16 << 20;
  static constexpr std::size_t maximumDepth = 512;
  static constexpr std::size_t maximumObjects = 1'000'000;

  virtual ~PropertyLists() = default;

  /// Reads a property list in any form (XML, binary, old-style text including string tables).
  /// Failure is the platform's error 3840 with a description.
  virtual Result<PropertyValue> parse(std::span<const std::uint8_t> bytes) = 0;

  /// The list in XML form. Failure is error 3851: the value holds an error object, a date outside
  /// of the years 0 to 9999, or text that is not valid UTF-8 or has characters that XML cannot
  /// hold; or the list is beyond what a reader accepts.
  virtual Result<std::string> xml(const PropertyValue& value) = 0;
};

}  // namespace qrt
