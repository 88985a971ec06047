// Contents from one open file to another.
#pragma once

#include "base/PosixCode.h"

namespace qrt {

/// Copies what a regular file holds into an empty one. Holes stay holes where the file system tells
/// them.
PosixCode copyContents(int from, int to);

}  // namespace qrt
