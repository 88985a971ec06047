// Reads property lists in XML form.
#pragma once

#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

enum class XmlEncoding {
  declared,  ///< What the XML declaration says, else UTF-8.
  utf8       ///< UTF-8, whatever the declaration says.
};

/// The root is a `plist` element with one value, or the value's own element. A document type may be
/// named, but its external part is never loaded. One with declarations is refused, because with
/// entities and default attributes a small text expands to a very large one.
Result<PropertyValue> readXmlPropertyList(std::string_view text, XmlEncoding encoding);

}  // namespace qrt
