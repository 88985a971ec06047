// The 8-bit character set of NeXTSTEP.
#pragma once

#include <cstdint>

namespace qrt {

/// U+FFFD for the two bytes without a character.
char32_t characterFromNextStep(std::uint8_t byte);

}  // namespace qrt
