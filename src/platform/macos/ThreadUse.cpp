#include "platform/ThreadUse.h"

#include <ctime>

namespace qrt {

/// The system counts switches for whole processes only.
ThreadUse useOfThread() {
  timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return {std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec)};
}

}  // namespace qrt
