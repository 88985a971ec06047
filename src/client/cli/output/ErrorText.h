// An error as lines for a person.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// Description, suggestion, the path unless one of them names it, and the causes. `error` is
/// localized already. Every line ends with a line feed.
std::string errorText(const Error& error);

}  // namespace qrt
