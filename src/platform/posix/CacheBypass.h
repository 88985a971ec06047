// Writes that bypass the system's cache.
#pragma once

namespace qrt {

/// Makes writes to a block device bypass the cache, or use it again. False when the device does not
/// support that. A bypassing write fails as invalid when it does not fit the device's sectors.
bool setCacheBypass(int descriptor, bool bypass);

}  // namespace qrt
