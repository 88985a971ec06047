// How each port writes to open files and devices.
#pragma once

#include <cstddef>

namespace qrt {

/// Returns when the bytes written to an open file or device are safe from a loss of power. Returns
/// 0, or -1 and sets `errno`.
int flushToMedium(int descriptor);

/// Makes writes to a block device bypass the cache, or use it again. False when the device does not
/// support that. A bypassing write fails as invalid when it does not fit the device's sectors.
bool setCacheBypass(int descriptor, bool bypass);

/// The size of each write to an open file or device must be a multiple of this, in bytes. 1 where
/// every size can be written.
std::size_t writeUnitOf(int descriptor);

}  // namespace qrt
