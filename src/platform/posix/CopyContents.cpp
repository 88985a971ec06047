#include "platform/posix/CopyContents.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// A range of positions that contains data.
struct Stretch {
  off_t begin;
  off_t end;
};

/// The first stretch at or after `from`; an empty stretch at `size` when no data follow.
template <class Seek>
Stretch nextStretch(int file, off_t from, off_t size, NoData noData, Seek seek) {
  const auto begin = seek(file, from, SEEK_DATA);
  if (begin < 0) {
    const bool isHole = errno == ENXIO && noData == NoData::isHole;
    return isHole ? Stretch{size, size} : Stretch{from, size};
  }
  const auto end = seek(file, begin, SEEK_HOLE);
  return {begin, end < 0 ? size : end};
}

PosixCode writeAt(int file, const std::byte* bytes, std::size_t length, off_t position) {
  while (length > 0) {
    const auto count = ::pwrite(file, bytes, length, position);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) return PosixCode::noSpace;
    bytes += count;
    length -= static_cast<std::size_t>(count);
    position += count;
  }
  return PosixCode::success;
}

class Copy {
 public:
  Copy(int from, int to) : from_(from), to_(to) {}

  PosixCode copy(Stretch stretch) {
    while (stretch.begin < stretch.end) {
      const auto wanted = std::min<off_t>(stretch.end - stretch.begin, bufferSize);
      const auto count =
          ::pread(from_, buffer_.get(), static_cast<std::size_t>(wanted), stretch.begin);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return lastError();
      if (count == 0) return PosixCode::success;  // The file has become shorter.
      const auto code = writeAt(to_, buffer_.get(), static_cast<std::size_t>(count), stretch.begin);
      if (code != PosixCode::success) return code;
      stretch.begin += count;
    }
    return PosixCode::success;
  }

 private:
  static constexpr std::size_t bufferSize = 256 * 1024;

  const int from_;
  const int to_;
  const std::unique_ptr<std::byte[]> buffer_{new std::byte[bufferSize]};
};

}  // namespace

PosixCode copyContents(int from, int to, NoData noData, off_t (*seek)(int, off_t, int)) {
  struct stat status;
  if (::fstat(from, &status) != 0) return lastError();
  Copy copy(from, to);
  for (off_t position = 0; position < status.st_size;) {
    const auto stretch = nextStretch(from, position, status.st_size, noData, seek);
    const auto code = copy.copy(stretch);
    if (code != PosixCode::success) return code;
    position = stretch.end;
  }
  return codeFor(::ftruncate(to, status.st_size));
}

}  // namespace qrt
