// Why bytes are not a property list, or why a value cannot be written as one.
#pragma once

#include <optional>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// For people; the reader adds where it was met.
struct PropertyListProblem {
  const char* text;
};

/// Nothing when all is well.
using PropertyListCheck = std::optional<PropertyListProblem>;

/// `place` says where: "line 3".
Error unreadablePropertyList(PropertyListProblem problem, std::string_view place);
Error unreadablePropertyList(PropertyListProblem problem);
Error unwritablePropertyList(PropertyListProblem problem);

}  // namespace qrt
