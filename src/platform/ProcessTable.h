// Running processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/PosixCode.h"

namespace qrt {

struct ProcessRecord {
  std::int32_t identifier = 0;
  /// The short command name, cut to `keptNameLength` bytes.
  std::string name;
  std::uint32_t effectiveUserID = 0;
  /// It has ended, but its parent has not taken its status yet.
  bool isZombie = false;
};

/// Thread-safe.
class ProcessTable {
 public:
  virtual ~ProcessTable() = default;

  /// Every process, but not every thread; no value when the table cannot be read.
  virtual std::optional<std::vector<ProcessRecord>> processes() = 0;

  /// Bytes of a command name that the kernel keeps.
  virtual std::size_t keptNameLength() const = 0;

  /// `signal` is the platform's number.
  virtual PosixCode sendSignal(std::int32_t process, std::int32_t signal) = 0;
};

}  // namespace qrt
