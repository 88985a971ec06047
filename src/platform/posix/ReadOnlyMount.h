// Whether the mount of an open object refuses changes.
#pragma once

#include <sys/statvfs.h>

namespace qrt {

/// Also false when the system reports no mount flags.
inline bool refusesChanges(int object) {
  struct statvfs answer {};
  return ::fstatvfs(object, &answer) == 0 && (answer.f_flag & ST_RDONLY) != 0;
}

}  // namespace qrt
