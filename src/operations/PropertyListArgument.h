// Request arguments that carry a property list as text.
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"

namespace qrt {

class PropertyLists;

/// The value that a text stands for, none for the empty text. POSIX error 22, with the reader's own
/// error underneath, when it is no property list.
Result<std::optional<PropertyValue>> valueFromText(PropertyLists& propertyLists,
                                                   const std::string& text);

}  // namespace qrt
