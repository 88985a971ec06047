#include "support/Mounts.h"

#include <sys/mount.h>

#include <cstdio>

namespace qrt::test {

/// A disk in memory.
struct Mount::Image {
  Image() {
    FILE* output = popen("/usr/bin/hdiutil attach -nomount ram://131072 2>/dev/null", "r");
    char line[64] = {};
    if (output && std::fgets(line, sizeof line, output)) device.assign(line);
    if (output) pclose(output);
    device.resize(device.find_last_not_of(" \t\n") + 1);
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() {
    if (!device.empty()) run({"/usr/bin/hdiutil", "detach", "-force", device});
  }

  std::string device;
};

Mount::Mount(Kind kind, const std::string& on) : on_(on) {
  if (kind != Kind::memory) return;
  image_ = std::make_unique<Image>();
  isMounted_ = !image_->device.empty() && run({"/sbin/newfs_hfs", image_->device}) &&
               run({"/sbin/mount", "-t", "hfs", image_->device, on});
}

Mount::~Mount() {
  if (isMounted_) unmount(on_.c_str(), MNT_FORCE);
}

bool Mount::makeReadOnly() const { return run({"/sbin/mount", "-u", "-o", "rdonly", on_}); }

}  // namespace qrt::test
