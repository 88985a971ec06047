#include "support/Mounts.h"

#include <sched.h>
#include <sys/mount.h>

namespace qrt::test {
namespace {

constexpr off_t mebibyte = 1024 * 1024;

struct Format {
  Mount::Kind kind;
  off_t size;
  std::vector<std::string> tool;
};

const Format formats[] = {
    {Mount::Kind::ext4, 64 * mebibyte, {"mkfs.ext4", "-q"}},
    {Mount::Kind::ext4WithoutTypes, 64 * mebibyte, {"mkfs.ext4", "-q", "-O", "^filetype"}},
    {Mount::Kind::xfs, 320 * mebibyte, {"mkfs.xfs", "-q"}},
    {Mount::Kind::btrfs, 128 * mebibyte, {"mkfs.btrfs", "-q"}}};

/// A namespace that ends with the process: nothing stays behind, nobody else sees a mount.
bool ownNamespace() {
  static const bool own =
      unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  return own;
}

bool mountFormatted(const Format& format, const std::string& image, const std::string& on) {
  auto tool = format.tool;
  tool.push_back(image);
  return truncate(image.c_str(), format.size) == 0 && run(tool) &&
         run({"mount", "-o", "loop", image, on});
}

}  // namespace

struct Mount::Image {
  ScratchFolder folder;
};

Mount::Mount(Kind kind, const std::string& on) : on_(on) {
  if (!ownNamespace()) return;
  if (kind == Kind::memory) isMounted_ = run({"mount", "-t", "tmpfs", "scratch", on});
  if (kind == Kind::plainMemory) isMounted_ = run({"mount", "-t", "ramfs", "scratch", on});
  for (const auto& format : formats) {
    if (format.kind != kind) continue;
    image_ = std::make_unique<Image>();
    isMounted_ = mountFormatted(format, image_->folder.file("image"), on);
  }
}

Mount::~Mount() {
  if (isMounted_) umount2(on_.c_str(), MNT_DETACH);
}

bool Mount::makeReadOnly() const { return run({"mount", "-o", "remount,ro", on_}); }

}  // namespace qrt::test
