// Flushing the system's cache to the medium.
#pragma once

namespace qrt {

/// Returns when the bytes written to an open file or device are safe from a loss of power. Returns
/// 0, or -1 and sets `errno`.
int flushToMedium(int descriptor);

}  // namespace qrt
