// Reading values from the texts of arguments.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

/// True if the text is "0" or "1"; then `*value`, unless null, becomes that boolean.
bool getBool(bool* value, const std::string& fromStringArgument);

/// The texts of the arguments, or nothing if one of them is not a string.
std::optional<std::vector<std::string>> stringsIn(const Array& arguments);

/// The type of value to read from a text.
enum class CoreFoundationType { boolean, number, string, data, other };

/// The value of that type in the text, or nothing if the text has another form.
///   boolean  "true" or "false"
///   number   the signed 64-bit integer at its beginning, else 0
///   string   the text
///   data     "%0A%FF": bytes in hexadecimal, at most one for three characters of the text
std::optional<PropertyValue> copyCoreFoundationValueWithType(
    CoreFoundationType type, const std::optional<std::string>& forValueInString);

/// The value that a property list in a text describes; nothing for the empty text. POSIX error 22,
/// with the reader's own error underneath, for a text that is no property list.
Result<std::optional<PropertyValue>> valueFromText(const std::string& text);

}  // namespace qrt
