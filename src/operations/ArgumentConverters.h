// Reading request arguments that carry one kind of value as another.
#pragma once

#include <string>

namespace qrt {

/// True when the text is exactly "0" or "1"; then `*value`, if given, becomes that boolean.
bool getBool(bool* value, const std::string& fromStringArgument);

}  // namespace qrt
