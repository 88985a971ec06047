#include "filesystem/objects/ItemMove.h"

#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "base/Path.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/FlagChange.h"
#include "filesystem/objects/TemporaryName.h"
#include "filesystem/objects/TreeCopy.h"
#include "filesystem/objects/TreeRemoval.h"
#include "filesystem/walk/TreeWalk.h"
#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"

namespace qrt::FileManager {
namespace {

constexpr const char* stagedName = "item";
constexpr std::uint32_t ownerOnly = 0700;

std::optional<TreeFailure> failure(PosixCode code) {
  if (code == PosixCode::success) return std::nullopt;
  return TreeFailure{code, {}};
}

/// Removes everything in the very folder that is held, protected objects as well.
std::optional<TreeFailure> emptyFolder(const Platform& platform, const HeldObject& held) {
  const auto folder = platform.files.openFolder(held);
  if (!folder) return failure(folder.error());
  constexpr TreeFlagChange clearing{.flags = file_flag::userProtection,
                                    .value = false,
                                    .ofLinks = TreeFlagChange::OfLinks::change,
                                    .onlyWith = file_flag::userProtection,
                                    .onlyFileSystem = std::nullopt};
  if (auto failed = changeFlagsBelow(platform, {*folder, "."}, clearing)) return failed;
  return removeContents(platform, *folder);
}

/// Removes an object with its contents, but no other object that has taken its name since: that is
/// `noEntry`. Only an empty folder in its place could be removed unseen.
std::optional<TreeFailure> removeObject(const Platform& platform, FileAt item,
                                        const HeldObject& held) {
  auto& files = platform.files;
  const auto status = held.status();
  if (!status) return failure(status.error());
  if ((status->flags & file_flag::userProtection) != 0) {
    const auto code = held.setFlags(*status, status->flags & ~file_flag::userProtection);
    if (code != PosixCode::success) return failure(code);
  }
  if (status->isFolder()) {
    if (auto failed = emptyFolder(platform, held)) return failed;
  }
  const auto now = files.status(item, Links::stay);
  if (!now) return failure(now.error());
  if (!now->isSameObjectAs(*status)) return failure(PosixCode::noEntry);
  return failure(status->isFolder() ? files.removeFolder(item) : files.removeFile(item));
}

/// A folder beside the new object, closed to other users, in which the copy is made. Removed at the
/// end with everything left in it.
class StagingFolder {
 public:
  static PosixResult<StagingFolder> beside(const Platform& platform, const Folder& parent) {
    constexpr int attempts = 16;
    auto code = PosixCode::exists;
    for (int i = 0; i < attempts && code == PosixCode::exists; ++i) {
      auto name = TemporaryName(".move-").make();
      auto folder = platform.files.createFolder({parent, name.c_str()}, ownerOnly);
      if (folder) return StagingFolder(platform, parent, std::move(name), std::move(*folder));
      code = folder.error();
    }
    return code;
  }

  StagingFolder(StagingFolder&&) = default;
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;
  // Only a lack of memory throws here, and then the process may as well end.
  // NOLINTNEXTLINE(bugprone-exception-escape)
  ~StagingFolder() {
    if (!folder_) return;
    // The obstacle may be gone a moment later, for example a lack of memory.
    constexpr int attempts = 6;
    auto pause = std::chrono::milliseconds(1);
    for (int attempt = 1; !remove() && attempt < attempts; ++attempt, pause *= 4) {
      std::this_thread::sleep_for(pause);
    }
  }

  FileAt item() const { return {*folder_, stagedName}; }
  const Folder& folder() const { return *folder_; }

 private:
  StagingFolder(const Platform& platform, const Folder& parent, std::string name, Folder folder)
      : platform_(platform),
        parent_(parent),
        name_(std::move(name)),
        folder_(std::make_unique<Folder>(std::move(folder))) {
    dropInheritance();
  }

  /// A new folder inherits rights and attributes from its parent, and would pass them to the
  /// copies.
  void dropInheritance() {
    const auto held = platform_.files.hold({*folder_, "."}, Links::stay);
    if (!held) return;
    platform_.accessControl.setRights(*held, {ownerOnly, std::nullopt, std::nullopt});
    const auto names = platform_.extendedAttributes.names(*held, Compression::hidden);
    if (!names) return;
    for (const auto& name : *names)
      platform_.extendedAttributes.remove(*held, name, Compression::hidden);
  }

  /// False if a part of it is still there.
  bool remove() {
    auto& files = platform_.files;
    const auto held = files.hold(item(), Links::stay);
    if (held) removeObject(platform_, item(), *held);
    const auto code = files.removeFolder({parent_, name_.c_str()});
    return code == PosixCode::success || code == PosixCode::noEntry;
  }

  const Platform& platform_;
  const Folder& parent_;
  std::string name_;
  /// Null in an object that was moved from.
  std::unique_ptr<Folder> folder_;
};

/// Copies the object to a free path. Afterwards the copy is complete and safe from a loss of power,
/// or nothing is left of it.
std::optional<TreeFailure> copyAcross(const Platform& platform, const HeldObject& item,
                                      FileAt toItem) {
  auto& files = platform.files;
  if (files.status(toItem, Links::stay)) return failure(PosixCode::exists);
  const auto staging = StagingFolder::beside(platform, toItem.folder);
  if (!staging) return failure(staging.error());
  if (auto failed = copyTree(platform, item, staging->item())) return failed;
  auto code = files.synchronize(staging->folder());
  if (code == PosixCode::success) code = files.rename(staging->item(), toItem);
  if (code == PosixCode::success) code = files.synchronize(staging->folder());
  return failure(code);
}

std::optional<TreeFailure> moveAcross(const Platform& platform, FileAt item, FileAt toItem) {
  const auto held = platform.files.hold(item, Links::stay);
  const auto status = held ? held->status() : held.error();
  const auto code = status ? checkRemovable(item.folder, *status) : status.error();
  if (code != PosixCode::success) return failure(code);
  if (auto failed = copyAcross(platform, *held, toItem)) return failed;
  return removeObject(platform, item, *held);
}

}  // namespace

PosixCode checkRemovable(const Folder& parent, const FileStatus& item) {
  constexpr std::uint32_t fixingFlags = file_flag::userProtection | file_flag::refusingChanges;
  if (parent.isReadOnly()) return PosixCode::readOnlyFileSystem;
  if (item.isMountRoot) return PosixCode::busy;
  if ((item.flags & fixingFlags) != 0) return PosixCode::notPermitted;
  return PosixCode::success;
}

Outcome moveItemAtPath(const Platform& platform, const std::string& path,
                       const std::string& toPath) {
  const auto item = platform.files.locate(path);
  if (!item) return fileWriteError(item.error(), path, toPath);
  const auto toItem = platform.files.locate(toPath);
  if (!toItem) return fileWriteError(toItem.error(), path, toPath);
  if (item->meansFolder || toItem->meansFolder) {
    const auto status = platform.files.status(item->at(), Links::stay);
    if (status && !status->isFolder()) {
      return fileWriteError(PosixCode::notDirectory, path, toPath);
    }
  }
  return moveItem(platform, item->at(), path, toItem->at(), toPath);
}

Outcome moveItem(const Platform& platform, FileAt item, const std::string& path, FileAt toItem,
                 const std::string& toPath) {
  const auto code = platform.files.rename(item, toItem);
  if (code == PosixCode::success) return success;
  if (code != PosixCode::crossDevice) return fileWriteError(code, path, toPath);
  const auto failed = moveAcross(platform, item, toItem);
  if (!failed) return success;
  return fileWriteError(failed->code, path::below(path, failed->relativePath), toPath);
}

}  // namespace qrt::FileManager
