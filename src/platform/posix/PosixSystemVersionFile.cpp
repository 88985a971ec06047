#include "platform/posix/PosixSystemVersionFile.h"

#include <fcntl.h>

#include "platform/posix/ReadFile.h"

namespace qrt {

std::optional<Data> PosixSystemVersionFile::read() {
  constexpr std::size_t maximumBytes = 1 << 20;
  auto contents = readFile(AT_FDCWD, path_.c_str(), maximumBytes);
  if (!contents) return std::nullopt;
  return std::move(contents).value();
}

}  // namespace qrt
