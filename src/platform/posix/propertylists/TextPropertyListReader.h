// Reads property lists in the old text form.
#pragma once

#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// { key = value; }, ( value, value ), strings with or without quotes, <hexadecimal data>, and
/// comments as in C. A text of pairs without braces is a string table; in a dictionary "key;" means
/// "key = key;". Also reads the typed values of other writers: <*I5>, <*R1.5>, <*BY>, <*BN>,
/// <*D2001-02-03 04:05:06 +0000> and <[base64]>. Octal escapes are bytes in NeXTSTEP encoding, as
/// the first writers of this form used them; \U escapes are UTF-16. `text` is UTF-8 without byte
/// order mark.
Result<PropertyValue> readTextPropertyList(std::string_view text);

}  // namespace qrt
