#include "platform/posix/LinkTarget.h"

#include <unistd.h>

#include <cstddef>

#include "platform/posix/NativeError.h"

namespace qrt {

PosixResult<std::string> linkTarget(int folder, const char* path) {
  for (std::size_t size = 256;; size *= 2) {
    std::string target(size, '\0');
    const auto length = ::readlinkat(folder, path, target.data(), target.size());
    if (length < 0) return lastError();
    if (static_cast<std::size_t>(length) == size) continue;  // There may be more.
    target.resize(static_cast<std::size_t>(length));
    return target;
  }
}

}  // namespace qrt
