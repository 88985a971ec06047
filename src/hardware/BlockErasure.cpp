#include "hardware/BlockErasure.h"

#include <algorithm>
#include <numeric>

#include "platform/BlockDevice.h"

namespace qrt {

PosixCode eraseBlocks(BlockDevice& device, std::uint64_t blockCount) {
  constexpr std::uint64_t blockSize = 512;
  // In blocks: the smallest piece that is also a whole number of the device's units.
  const auto smallest = std::lcm<std::uint64_t>(device.writeUnit(), blockSize) / blockSize;
  if (blockCount % smallest != 0) return PosixCode::invalidArgument;
  const auto fitting = [smallest](std::uint64_t blocks) {
    return std::max(blocks - blocks % smallest, smallest);
  };

  auto blocksAtOnce = fitting(BlockDevice::largestWrite / blockSize);
  for (auto left = blockCount; left > 0;) {
    const auto wanted = std::min(left, blocksAtOnce);
    const auto written = device.writeZeros(static_cast<std::size_t>(wanted * blockSize));
    if (!written && wanted == smallest) return written.error();
    if (written && (*written == 0 || *written % blockSize != 0)) return PosixCode::noSpace;
    const auto done = written ? *written / blockSize : 0;
    left -= done;
    // A block in the rest fails. Smaller pieces find it and return its own error.
    if (done < wanted) blocksAtOnce = fitting(wanted / 2);
  }
  return device.synchronize();
}

}  // namespace qrt
