// Places of utilities that differ between the systems.
#pragma once

#include <string_view>

namespace qrt {

/// The absolute path of the utility that changes owners.
extern const std::string_view pathOfChown;

}  // namespace qrt
