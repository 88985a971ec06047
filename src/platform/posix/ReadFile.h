// Reading whole small files.
#pragma once

#include <cstddef>

#include "base/PropertyValue.h"
#include "base/Result.h"

namespace qrt {

/// The contents of a file of at most `limit` bytes; a larger one is `noSpace`. `folder` is an open
/// folder or AT_FDCWD. For files of the system: follows links. A file whose reader would have to
/// wait is `tryAgain`.
PosixResult<Data> readFile(int folder, const char* path, std::size_t limit);

/// The rest of an open file, from its current position.
PosixResult<Data> readFile(int file, std::size_t limit);

}  // namespace qrt
