#include "platform/ThreadUse.h"

#include <ctime>

namespace qrt {

/// The system counts waits and preemptions for whole processes only.
ThreadUse useOfThread() {
  timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return {std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec), now.count()};
}

}  // namespace qrt
