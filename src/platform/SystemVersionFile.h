// The file that names this system's product and version.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// The contents of the home platform's version file below `root`, a property list. None where there
/// is no such file; other systems have none. Thread-safe.
std::optional<Data> readSystemVersionFile(const std::string& root);

}  // namespace qrt
