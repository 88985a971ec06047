// Overwriting the beginning of a storage device.
#pragma once

#include <cstdint>

#include "base/PosixCode.h"

namespace qrt {

class BlockDevice;

/// Overwrites the first `blockCount` blocks of 512 bytes with zeros and waits until they are on the
/// device. Returns `invalidArgument` and writes nothing unless they are a whole number of the
/// device's units. After another failure all blocks before the failed one are zero, and the error
/// is that block's: `noSpace` if the device took only a part of it.
PosixCode eraseBlocks(BlockDevice& device, std::uint64_t blockCount);

}  // namespace qrt
