#include "platform/posix/DescriptorLimit.h"

#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <optional>

namespace qrt {
namespace {

std::optional<rlimit> limitAtStart;

}  // namespace

void raiseDescriptorLimit() {
  rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limitAtStart = limit;
  limit.rlim_cur = limit.rlim_max;
#ifdef OPEN_MAX
  // That system refuses more than this, even below the hard limit.
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, OPEN_MAX);
#endif
  setrlimit(RLIMIT_NOFILE, &limit);
}

void restoreDescriptorLimit() {
  if (limitAtStart) setrlimit(RLIMIT_NOFILE, &*limitAtStart);
}

}  // namespace qrt
