// Contents from one open file to another.
#pragma once

#include <unistd.h>

#include "base/PosixCode.h"

namespace qrt {

/// What it means when the system finds no data from some place of a file on.
enum class NoData {
  isHole,
  /// It may not know of data that the file shares with another.
  isUnknown
};

/// Copies what a regular file holds into an empty one. Holes stay holes where the file system knows
/// them. `seek` is a test's in the place of the system's.
PosixCode copyContents(int from, int to, NoData noData, off_t (*seek)(int, off_t, int) = ::lseek);

}  // namespace qrt
