#include "filesystem/objects/FlagChange.h"

#include "filesystem/objects/TrustedTarget.h"

namespace qrt {
namespace {

using OfLinks = TreeFlagChange::OfLinks;

std::uint32_t changed(std::uint32_t present, std::uint32_t flags, bool value) {
  return value ? present | flags : present & ~flags;
}

PosixCode unlessClear(PosixCode code, bool value) {
  return !value && code == PosixCode::notSupported ? PosixCode::success : code;
}

class FlagVisitor : public TreeVisitor {
 public:
  FlagVisitor(FileSystem& files, const TreeFlagChange& change) : files_(files), change_(change) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    if (object.isLink() && change_.ofLinks == OfLinks::leave) return Next::pass;
    const auto status = files_.status(object.at(), Links::stay);
    if (change_.onlyFileSystem) {
      if (!status && isExhaustion(status.error())) return status.error();
      const bool isThere =
          status && static_cast<std::uint32_t>(status->device) == *change_.onlyFileSystem;
      if (!isThere) return Next::pass;
    }
    const auto code = status ? change(object.at(), *status) : status.error();
    const bool hasVanished = change_.onlyWith && code == PosixCode::noEntry;
    if (code != PosixCode::success && !hasVanished) return code;
    return Next::enter;
  }

 private:
  PosixCode change(FileAt object, const FileStatus& status) const {
    if (status.isLink() && change_.ofLinks == OfLinks::leave) return PosixCode::success;
    if (status.isLink() && change_.ofLinks == OfLinks::changeTrustedTarget) {
      return changeTarget(object);
    }
    const bool isSkipped =
        change_.onlyWith && (status.flags & *change_.onlyWith) == 0 && !status.isMountRoot;
    if (isSkipped) return PosixCode::success;
    return changeFlags(files_, object, status, change_.flags, change_.value);
  }

  PosixCode changeTarget(FileAt link) const {
    const auto target = holdTrustedTarget(files_, link);
    if (!target) return isExhaustion(target.error()) ? target.error() : PosixCode::success;
    if (!*target) return PosixCode::success;
    const auto status = (*target)->status();
    if (!status) return status.error();
    return changeFlags(**target, *status, change_.flags, change_.value);
  }

  FileSystem& files_;
  const TreeFlagChange& change_;
};

}  // namespace

PosixCode changeFlags(FileSystem& files, FileAt object, const FileStatus& seen, std::uint32_t flags,
                      bool value) {
  return unlessClear(files.setFlags(object, seen, changed(seen.flags, flags, value)), value);
}

PosixCode changeFlags(const HeldObject& object, const FileStatus& seen, std::uint32_t flags,
                      bool value) {
  return unlessClear(object.setFlags(seen, changed(seen.flags, flags, value)), value);
}

std::optional<TreeFailure> changeFlagsBelow(const Platform& platform, FileAt top,
                                            const TreeFlagChange& change) {
  FlagVisitor visitor(platform.files, change);
  return walkTree(platform, top, visitor);
}

}  // namespace qrt
