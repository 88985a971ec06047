// An operation's answer as text for the user.
#pragma once

#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// One line without a line feed. A code becomes words.
std::string answerText(std::string_view key, const PropertyValue& value);

}  // namespace qrt
