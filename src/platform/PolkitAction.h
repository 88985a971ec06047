// A right as an action of polkit, as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// The element of one right. polkit grants a right that is defined as "allow" to all users; any
/// other asks for an administrator's password each time.
std::string polkitAction(const std::string& right, const PropertyValue& definition,
                         const std::string& description);

/// A file that holds these elements.
std::string polkitActionFile(std::string_view actions);

/// The definition of a right in a file that `polkitActionFile` has made: "allow" or the default
/// rule.
std::optional<PropertyValue> definitionInPolkitFile(std::string_view file,
                                                    const std::string& right);

}  // namespace qrt
