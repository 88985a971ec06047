#include "platform/posix/ReadFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/FileDescriptor.h"
#include "platform/posix/NativeError.h"

namespace qrt {

PosixResult<Data> readFile(int folder, const char* path, std::size_t limit) {
  const FileDescriptor file(openat(folder, path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) return lastError();
  return readFile(file.get(), limit);
}

PosixResult<Data> readFile(int file, std::size_t limit) {
  // The kernel reports no size for the files that it generates.
  constexpr std::size_t firstPiece = 4096;
  Data contents;
  for (std::size_t length = 0;;) {
    if (length == contents.size()) contents.resize(std::max(firstPiece, 2 * length));
    const auto count = read(file, contents.data() + length, contents.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    length += static_cast<std::size_t>(count);
    if (length > limit) return PosixCode::noSpace;
    if (count == 0) {
      contents.resize(length);
      return contents;
    }
  }
}

}  // namespace qrt
