// Reading request arguments that carry one kind of value as another.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

/// True when the text is exactly "0" or "1"; then `*value`, if given, becomes that boolean.
bool getBool(bool* value, const std::string& fromStringArgument);

/// The texts of arguments that are to be strings; none when one of them is not.
std::optional<std::vector<std::string>> stringsIn(const Array& arguments);

/// What kind of value a text is read as.
enum class CoreFoundationType { boolean, number, string, data, other };

/// The value of that type that the text stands for; none when it stands for none.
///   boolean  "true" or "false"
///   number   the signed 64-bit integer at its beginning, 0 without one
///   string   the text
///   data     "%0A%FF": bytes in hexadecimal, at most one for three characters of the text
std::optional<PropertyValue> copyCoreFoundationValueWithType(
    CoreFoundationType type, const std::optional<std::string>& forValueInString);

/// The value that a property list in a text describes; nothing for the empty text. POSIX error 22,
/// with the reader's own error underneath, for a text that is no property list.
Result<std::optional<PropertyValue>> valueFromText(const std::string& text);

}  // namespace qrt
