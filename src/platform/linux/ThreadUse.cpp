#include "platform/ThreadUse.h"

#include <sys/resource.h>

namespace qrt {
namespace {

std::chrono::nanoseconds durationOf(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

ThreadUse useOfThread() {
  rusage use{};
  ::getrusage(RUSAGE_THREAD, &use);
  return {durationOf(use.ru_utime) + durationOf(use.ru_stime), use.ru_nvcsw, use.ru_nivcsw};
}

}  // namespace qrt
