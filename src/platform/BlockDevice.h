// Storage devices, for overwriting them with zeros.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "base/Result.h"

namespace qrt {

/// A device that is open for writing. Writes bypass the system's cache where the device supports
/// that. Not thread-safe.
class BlockDevice {
 public:
  static constexpr std::size_t largestWrite = 1 << 20;

  virtual ~BlockDevice() = default;

  /// The size of each write must be a multiple of this, in bytes. 1 where the system completes
  /// sectors by itself.
  virtual std::size_t writeUnit() const = 0;

  /// Writes that many zero bytes, at most `largestWrite`, after those already written. Returns the
  /// number of bytes written; fewer at the end of the device. After an error the next write begins
  /// at the same place, though some bytes after it may have been written.
  virtual PosixResult<std::size_t> writeZeros(std::size_t count) = 0;

  /// Waits until the written bytes are on the device. Succeeds at once for a device that stores
  /// nothing.
  virtual PosixCode synchronize() = 0;
};

/// Opens "<root>/dev/<name>" for writing at its beginning. Links are followed, slashes around the
/// name do not count, and a ".." in it is `invalidArgument`. Neither opening nor writing waits for
/// the other end of a FIFO. Thread-safe.
PosixResult<std::unique_ptr<BlockDevice>> openBlockDevice(const std::string& root,
                                                          const std::string& name);

}  // namespace qrt
