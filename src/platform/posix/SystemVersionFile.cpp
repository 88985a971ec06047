#include "platform/SystemVersionFile.h"

#include <fcntl.h>

#include "platform/posix/ReadFile.h"

namespace qrt {

std::optional<Data> readSystemVersionFile(const std::string& root) {
  constexpr std::size_t maximumBytes = 1 << 20;
  const auto path = root + "/System/Library/CoreServices/SystemVersion.plist";
  auto contents = readFile(AT_FDCWD, path.c_str(), maximumBytes);
  if (!contents) return std::nullopt;
  return std::move(contents).value();
}

}  // namespace qrt
