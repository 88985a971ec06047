// The system's utilities that clients may run.
#pragma once

#include <span>
#include <string_view>

namespace qrt {

/// Their absolute paths. The last component is the name that a client sends.
std::span<const std::string_view> utilityPaths();

}  // namespace qrt
