// Contents from one open file to another.
#pragma once

#include <unistd.h>

#include "base/PosixCode.h"

namespace qrt {

/// What it means when the system finds no data after some position of a file.
enum class NoData {
  isHole,
  /// The system may not see data that the file shares with another file.
  isUnknown
};

/// Copies the contents of a regular file to an empty one. Keeps holes where the file system reports
/// them. A test passes its own `seek`.
PosixCode copyContents(int from, int to, NoData noData, off_t (*seek)(int, off_t, int) = ::lseek);

}  // namespace qrt
