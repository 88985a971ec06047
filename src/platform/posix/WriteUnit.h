// What the size of a write must be a multiple of.
#pragma once

#include <cstddef>

namespace qrt {

/// In bytes, for an open file or device. 1 where any size can be written.
std::size_t writeUnitOf(int descriptor);

}  // namespace qrt
