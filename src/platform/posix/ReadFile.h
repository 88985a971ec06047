// Whole small files.
#pragma once

#include <cstddef>

#include "base/PropertyValue.h"
#include "base/Result.h"

namespace qrt {

/// The contents of a file of at most `limit` bytes; a larger one is `noSpace`. `folder` is an open
/// folder or AT_FDCWD. Made for files of the system: links are followed.
/// A file that would have its reader wait is `tryAgain`.
PosixResult<Data> readFile(int folder, const char* path, std::size_t limit);

/// The same from an open file, from where it stands to its end.
PosixResult<Data> readFile(int file, std::size_t limit);

}  // namespace qrt
