// What a thread does with its time.
#pragma once

#include <chrono>
#include <cstdint>

namespace qrt {

/// Of the time since the thread started, or of a part of it.
struct ThreadUse {
  std::chrono::nanoseconds processorTime{0};
  /// How often it waited, for a disk or another thread.
  std::int64_t waits = 0;
  /// How often another thread took its processor.
  std::int64_t preemptions = 0;

  ThreadUse& operator+=(const ThreadUse& other) {
    processorTime += other.processorTime;
    waits += other.waits;
    preemptions += other.preemptions;
    return *this;
  }
  ThreadUse operator-(const ThreadUse& other) const {
    return {processorTime - other.processorTime, waits - other.waits,
            preemptions - other.preemptions};
  }
};

/// Where the system does not count waits, their number only grows, and there are no preemptions.
ThreadUse useOfThread();

}  // namespace qrt
