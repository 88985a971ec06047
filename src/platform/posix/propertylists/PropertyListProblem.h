// Why bytes are not a property list, or why a value cannot be written as one.
#pragma once

#include <optional>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// A text for people; the reader adds the place.
struct PropertyListProblem {
  const char* text;
};

/// No value when there is no problem.
using PropertyListCheck = std::optional<PropertyListProblem>;

/// `place` is for instance "line 3".
Error unreadablePropertyList(PropertyListProblem problem, std::string_view place);
Error unreadablePropertyList(PropertyListProblem problem);
Error unwritablePropertyList(PropertyListProblem problem);

}  // namespace qrt
