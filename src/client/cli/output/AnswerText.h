// An operation's answer for a person.
#pragma once

#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// One line without a line feed: in words where the value is a code.
std::string answerText(std::string_view key, const PropertyValue& value);

}  // namespace qrt
