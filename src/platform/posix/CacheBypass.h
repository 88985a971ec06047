// Writing past the system's cache.
#pragma once

namespace qrt {

/// Makes writes to a block device go past the cache, or through it again. False when the device
/// does not have that. Bypassing writes may be refused as invalid where they do not fit the
/// device's sectors.
bool setCacheBypass(int descriptor, bool bypass);

}  // namespace qrt
