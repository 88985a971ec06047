// Whether the mount that an open object is on refuses changes.
#pragma once

#include <sys/statvfs.h>

namespace qrt {

/// False as well when the system does not tell.
inline bool refusesChanges(int object) {
  struct statvfs answer {};
  return ::fstatvfs(object, &answer) == 0 && (answer.f_flag & ST_RDONLY) != 0;
}

}  // namespace qrt
