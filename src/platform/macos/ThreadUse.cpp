#include "platform/ThreadUse.h"

#include <ctime>

namespace qrt {

/// The system counts waits and preemptions for whole processes only.
ThreadUse useOfThread() {
  thread_local std::int64_t calls = 0;
  timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return {std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec), ++calls};
}

}  // namespace qrt
