#include "platform/linux/settings/DefaultsLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <thread>

#include "platform/linux/files/OwnFolder.h"

namespace qrt {
namespace {

constexpr const char* lockName = ".GNUstepDefaults.lck";

}  // namespace

DefaultsLock::DefaultsLock(int defaultsFolder, uid_t owner) {
  if (auto folder = makeOwnFolder(defaultsFolder, ".lck", owner)) lockFolder_ = std::move(*folder);
  isHeld_ = lockFolder_ && take();
}

DefaultsLock::~DefaultsLock() {
  if (isHeld_) unlinkat(lockFolder_.get(), lockName, AT_REMOVEDIR);
}

bool DefaultsLock::take() const {
  constexpr std::chrono::milliseconds pause{10};
  const auto end = std::chrono::steady_clock::now() + patience;
  while (mkdirat(lockFolder_.get(), lockName, 0755) != 0) {
    if (errno != EEXIST || std::chrono::steady_clock::now() > end) return false;
    if (isAbandoned()) unlinkat(lockFolder_.get(), lockName, AT_REMOVEDIR);
    std::this_thread::sleep_for(pause);
  }
  return true;
}

bool DefaultsLock::isAbandoned() const {
  struct stat status;
  if (fstatat(lockFolder_.get(), lockName, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  return time(nullptr) - status.st_mtime > maximumAge.count();
}

}  // namespace qrt
