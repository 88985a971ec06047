// The property lists that the executable carries in its own image.
#pragma once

#include <cstdint>
#include <span>

namespace qrt {

extern const std::span<const std::uint8_t> infoPropertyList;
extern const std::span<const std::uint8_t> launchdPropertyList;

}  // namespace qrt
