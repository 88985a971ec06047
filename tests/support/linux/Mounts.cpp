#include "support/Mounts.h"

#include <sched.h>
#include <sys/mount.h>

#include <map>

namespace qrt::test {
namespace {

/// How an image is formatted, and how large it has to be.
const std::map<Mount::Kind, std::pair<std::string, const char*>> formats = {
    {Mount::Kind::ext4, {"mkfs.ext4 -q", "64M"}},
    {Mount::Kind::xfs, {"mkfs.xfs -q", "320M"}},
    {Mount::Kind::btrfs, {"mkfs.btrfs -q", "128M"}}};

/// A namespace of this process, which takes all mounts with it; no other process sees them.
bool ownNamespace() {
  static const bool own =
      unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  return own;
}

/// The image needs no name once it is mounted.
bool mountImage(const std::string& tool, const std::string& size, const std::string& on) {
  const ScratchFolder folder;
  const auto image = folder.path("image");
  return run({"sh", "-ec",
              "truncate -s " + size + " " + image + "; " + tool + " " + image + "; mount -o loop " +
                  image + " " + on});
}

}  // namespace

Mount::Mount(Kind kind, const std::string& on) : on_(on) {
  if (!ownNamespace()) return;
  if (const auto format = formats.find(kind); format != formats.end()) {
    isMounted_ = mountImage(format->second.first, format->second.second, on);
  } else {
    isMounted_ = run({"mount", "-t", kind == Kind::memory ? "tmpfs" : "ramfs", "scratch", on});
  }
}

Mount::~Mount() {
  if (isMounted_) umount2(on_.c_str(), MNT_DETACH);
}

bool Mount::makeReadOnly() const { return run({"mount", "-o", "remount,ro", on_}); }

}  // namespace qrt::test
