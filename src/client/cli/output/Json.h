// Values and errors as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Keys keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// Numbers and booleans keep their kind and value. Text is in its wire form, data is Base64, a date
/// is seconds since 1970, and an error is an object as below.
Json jsonOf(const PropertyValue& value);
Json jsonOf(const Dictionary& dictionary);

/// Domain, code, the texts for the user, and the whole user information.
Json jsonOf(const Error& error);

/// One line of valid UTF-8 with its line feed. Characters that control a terminal or the direction
/// of text are escaped.
std::string lineOf(const Json& json);

}  // namespace qrt
