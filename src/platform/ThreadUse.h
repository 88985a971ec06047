// What a thread does with its time.
#pragma once

#include <chrono>
#include <cstdint>

namespace qrt {

/// Since the thread started.
struct ThreadUse {
  std::chrono::nanoseconds processorTime{0};
  /// How often it waited, for a disk or another thread; 0 if the system does not count that.
  std::int64_t waits = 0;
  /// How often another thread took its processor; 0 if the system does not count that.
  std::int64_t preemptions = 0;
};

ThreadUse useOfThread();

}  // namespace qrt
