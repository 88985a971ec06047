// Numbers as text for the user.
#pragma once

#include <cstdint>
#include <string>

namespace qrt {

/// "999 B", "1.5 kB", "12 MB": powers of 1000, at most six characters.
std::string sizeText(std::uint64_t bytes);

/// "999", "12,345".
std::string countText(std::uint64_t count);

}  // namespace qrt
