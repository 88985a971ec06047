#include "hardware/BlockErasure.h"

#include <algorithm>

#include "platform/BlockDevice.h"

namespace qrt {

PosixCode eraseBlocks(BlockDevice& device, std::uint64_t blockCount) {
  constexpr std::size_t blockSize = 512;
  std::uint64_t blocksAtOnce = BlockDevice::largestWrite / blockSize;
  for (auto left = blockCount; left > 0;) {
    const auto wanted = std::min(left, blocksAtOnce);
    const auto written = device.writeZeros(static_cast<std::size_t>(wanted) * blockSize);
    if (!written && wanted == 1) return written.error();
    if (written && (*written == 0 || *written % blockSize != 0)) return PosixCode::noSpace;
    const auto done = written ? *written / blockSize : 0;
    left -= done;
    // Somewhere in the rest is the block that fails. It is closed in on, and its own error counts.
    if (done < wanted) blocksAtOnce = std::max<std::uint64_t>(wanted / 2, 1);
  }
  return device.synchronize();
}

}  // namespace qrt
