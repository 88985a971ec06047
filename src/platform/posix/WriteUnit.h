// The unit of writes to a device.
#pragma once

#include <cstddef>

namespace qrt {

/// The size of each write to an open file or device must be a multiple of this, in bytes. 1 where
/// every size can be written.
std::size_t writeUnitOf(int descriptor);

}  // namespace qrt
