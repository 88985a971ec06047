// An error as lines for the user.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// Description, suggestion, paths and causes. A path that the texts contain is left out. `error` is
/// already localized. Every line ends with a line feed.
std::string errorText(const Error& error);

}  // namespace qrt
