// Property lists in the shape that tests compare them in.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/BoundedPropertyLists.h"

namespace qrt::test {

inline std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline Result<PropertyValue> parsed(std::string_view bytes) {
  return BoundedPropertyLists().parse(bytesOf(bytes));
}

/// The list as XML, which unlike the values' own equality tells 1, 1.0 and true apart; for an error
/// its code and description.
inline std::string shown(const Result<PropertyValue>& list) {
  const auto text = list ? BoundedPropertyLists().xml(*list) : Result<std::string>(list.error());
  if (text) return *text;
  return "error " + std::to_string(text.error().code) + ": " + descriptionOf(text.error());
}

}  // namespace qrt::test
