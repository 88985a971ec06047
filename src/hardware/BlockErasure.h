// Overwriting the beginning of a storage device.
#pragma once

#include <cstdint>

#include "base/PosixCode.h"

namespace qrt {

class BlockDevice;

/// Overwrites the first `blockCount` blocks of 512 bytes with zeros, then waits until they are on
/// the device. Returns `invalidArgument`, and writes nothing, when they are not a whole number of
/// the device's units. Everything before the place where it stops is zero, as if each block had
/// been written by itself, and the error is that of the one block that could not be written:
/// `noSpace` when the device took only a part of it.
PosixCode eraseBlocks(BlockDevice& device, std::uint64_t blockCount);

}  // namespace qrt
