// Writes property lists in XML form.
#pragma once

#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// What is written can be read again: a list beyond a reader's limits is an error, and so is an
/// error object, text or a date that XML has no form for. Fractions of a second are dropped.
Result<std::string> writeXmlPropertyList(const PropertyValue& value);

}  // namespace qrt
