#include "platform/SystemNames.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

namespace qrt {
namespace {

struct StreamCloser {
  void operator()(DIR* stream) const { closedir(stream); }
};

}  // namespace

std::vector<std::string> namesInFolder(const std::string& folder) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, StreamCloser> stream(opendir(folder.c_str()));
  while (const auto* entry = stream ? readdir(stream.get()) : nullptr) {
    std::string name(entry->d_name);
    if (name == "." || name == "..") continue;
    struct stat status;
    const bool isKnown = fstatat(dirfd(stream.get()), name.c_str(), &status, 0) == 0;
    if (isKnown && S_ISDIR(status.st_mode)) name += '/';
    names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace qrt
