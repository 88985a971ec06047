#include "support/Mounts.h"

#include <sys/mount.h>

namespace qrt::test {

Mount::Mount(Kind kind, const std::string& on) : on_(on) {
  if (kind != Kind::memory) return;
  device_ = printed("/usr/bin/hdiutil attach -nomount ram://131072 2>/dev/null");
  device_.resize(device_.find_last_not_of(" \t\n") + 1);
  isMounted_ = !device_.empty() && run({"/sbin/newfs_hfs", device_}) &&
               run({"/sbin/mount", "-t", "hfs", device_, on});
}

Mount::~Mount() {
  if (isMounted_) unmount(on_.c_str(), MNT_FORCE);
  if (!device_.empty()) run({"/usr/bin/hdiutil", "detach", "-force", device_});
}

bool Mount::makeReadOnly() const { return run({"/sbin/mount", "-u", "-o", "rdonly", on_}); }

}  // namespace qrt::test
