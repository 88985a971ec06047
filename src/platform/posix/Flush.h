// From the system's cache to the medium.
#pragma once

namespace qrt {

/// Returns when what was written to an open file or device is safe from a loss of power. As the
/// native calls do: 0, or -1 with `errno`.
int flushToMedium(int descriptor);

}  // namespace qrt
