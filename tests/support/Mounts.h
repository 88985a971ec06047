// File systems that a test mounts for itself.
#pragma once

#include <sched.h>
#include <sys/mount.h>

#include "support/ScratchFolder.h"

namespace qrt::test {

/// A mount in a namespace that ends with the process: nothing stays behind, nobody else sees it.
/// `isMounted()` is false without the right to mount or without the file system's tools.
class Mount {
 public:
  /// `plainMemory` keeps no flags. The listings of `ext4WithoutTypes` do not tell types.
  enum class Kind { memory, plainMemory, ext4, ext4WithoutTypes, xfs, btrfs };

  Mount(Kind kind, const std::string& on) : on_(on) {
    if (!ownNamespace()) return;
    if (kind == Kind::memory) {
      isMounted_ = run({"mount", "-t", "tmpfs", "scratch", on});
    } else if (kind == Kind::plainMemory) {
      isMounted_ = run({"mount", "-t", "ramfs", "scratch", on});
    } else {
      isMounted_ = mountImage(kind);
    }
  }
  Mount(const Mount&) = delete;
  Mount& operator=(const Mount&) = delete;
  ~Mount() {
    if (isMounted_) umount2(on_.c_str(), MNT_DETACH);
  }

  bool isMounted() const { return isMounted_; }

  bool makeReadOnly() const { return run({"mount", "-o", "remount,ro", on_}); }

 private:
  static bool ownNamespace() {
    static const bool own =
        unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return own;
  }

  bool mountImage(Kind kind) {
    struct Format {
      Kind kind;
      off_t size;
      std::vector<std::string> tool;
    };
    constexpr off_t mebibyte = 1024 * 1024;
    const Format formats[] = {
        {Kind::ext4, 64 * mebibyte, {"mkfs.ext4", "-q"}},
        {Kind::ext4WithoutTypes, 64 * mebibyte, {"mkfs.ext4", "-q", "-O", "^filetype"}},
        {Kind::xfs, 320 * mebibyte, {"mkfs.xfs", "-q"}},
        {Kind::btrfs, 128 * mebibyte, {"mkfs.btrfs", "-q"}}};
    for (const auto& format : formats) {
      if (format.kind != kind) continue;
      const auto image = images_.file("image");
      auto tool = format.tool;
      tool.push_back(image);
      return truncate(image.c_str(), format.size) == 0 && run(tool) &&
             run({"mount", "-o", "loop", image, on_});
    }
    return false;
  }

  std::string on_;
  ScratchFolder images_;
  bool isMounted_ = false;
};

}  // namespace qrt::test
