#include "filesystem/ItemMove.h"

#include <memory>
#include <optional>
#include <random>
#include <utility>

#include "filesystem/FileManagerError.h"
#include "filesystem/PathText.h"
#include "filesystem/TreeCopy.h"
#include "filesystem/TreeRemoval.h"
#include "filesystem/TreeWalk.h"

namespace qrt::FileManager {
namespace {

constexpr const char* stagedName = "item";
constexpr std::uint32_t ownerOnly = 0700;
constexpr std::uint32_t hinderingFlags = file_flag::userImmutable | file_flag::userAppendOnly;

/// Clears the flags that keep objects from being removed.
class FlagClearing : public TreeVisitor {
 public:
  explicit FlagClearing(FileSystem& files) : files_(files) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    const auto code = clear(object.at());
    if (code != PosixCode::success) return code;
    return Next::enter;
  }

  PosixCode clear(FileAt object) {
    const auto status = files_.status(object, Links::stay);
    if (!status) return status.error() == PosixCode::noEntry ? PosixCode::success : status.error();
    if ((status->flags & hinderingFlags) == 0) return PosixCode::success;
    return files_.setFlags(object, Links::stay, *status, status->flags & ~hinderingFlags);
  }

 private:
  FileSystem& files_;
};

/// Removes a tree that may hold protected objects.
std::optional<TreeFailure> removeProtectedTree(FileSystem& files, FileAt top) {
  FlagClearing clearing(files);
  const auto code = clearing.clear(top);
  if (code != PosixCode::success) return TreeFailure{code, {}};
  const auto status = files.status(top, Links::stay);
  if (!status) return TreeFailure{status.error(), {}};
  if (status->isFolder()) {
    if (auto failure = walkTree(files, top, clearing)) return failure;
  }
  return removeTree(files, top);
}

/// A folder beside the new object, closed to everybody else, in which the copy is made. It goes
/// with what is left in it.
class Staging {
 public:
  static PosixResult<Staging> beside(const ItemContext& context, const Folder& parent) {
    constexpr int attempts = 16;
    std::random_device random;
    auto code = PosixCode::exists;
    for (int i = 0; i < attempts && code == PosixCode::exists; ++i) {
      auto name = ".move-" + std::to_string(random()) + "-" + std::to_string(random());
      auto folder = context.files.createFolder({parent, name.c_str()}, ownerOnly);
      if (folder) return Staging(context, parent, std::move(name), std::move(*folder));
      code = folder.error();
    }
    return code;
  }

  Staging(Staging&&) = default;
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  // Only want of memory throws here, and then nothing better can be done than to end.
  // NOLINTNEXTLINE(bugprone-exception-escape)
  ~Staging() {
    if (!folder_) return;
    removeProtectedTree(context_.files, item());
    context_.files.removeFolder({parent_, name_.c_str()});
  }

  FileAt item() const { return {*folder_, stagedName}; }
  const Folder& folder() const { return *folder_; }

 private:
  Staging(const ItemContext& context, const Folder& parent, std::string name, Folder folder)
      : context_(context),
        parent_(parent),
        name_(std::move(name)),
        folder_(std::make_unique<Folder>(std::move(folder))) {
    dropInheritance();
  }

  /// What the folder was born with would pass on to the copies.
  void dropInheritance() {
    const FileAt self{*folder_, "."};
    const auto held = context_.files.hold(self, Links::stay);
    if (held) context_.accessControl.setRights(*held, {ownerOnly, std::nullopt, std::nullopt});
    const auto names = context_.attributes.names(self, Links::stay, Compression::hidden);
    if (!names) return;
    for (const auto& name : *names) {
      context_.attributes.remove(self, Links::stay, name, Compression::hidden);
    }
  }

  const ItemContext& context_;
  const Folder& parent_;
  std::string name_;
  /// Null after the staging was moved.
  std::unique_ptr<Folder> folder_;
};

std::optional<TreeFailure> failure(PosixCode code) {
  if (code == PosixCode::success) return std::nullopt;
  return TreeFailure{code, {}};
}

/// Refuses what could not be removed afterwards, as a move on one volume would.
PosixCode checkRemovable(FileSystem& files, FileAt item) {
  if (item.folder.isReadOnly()) return PosixCode::readOnlyFileSystem;
  const auto status = files.status(item, Links::stay);
  if (!status) return status.error();
  if (status->isMountRoot) return PosixCode::busy;
  if ((status->flags & hinderingFlags) != 0) return PosixCode::notPermitted;
  return PosixCode::success;
}

std::optional<TreeFailure> moveAcross(const ItemContext& context, FileAt item, FileAt toItem) {
  auto& files = context.files;
  if (const auto code = checkRemovable(files, item); code != PosixCode::success) {
    return failure(code);
  }
  if (files.status(toItem, Links::stay)) return failure(PosixCode::exists);
  {
    const auto staging = Staging::beside(context, toItem.folder);
    if (!staging) return failure(staging.error());
    if (auto failed = copyTree(context, item, staging->item())) return failed;
    // The old object may only go when a loss of power leaves the new one.
    auto code = files.synchronize(staging->folder());
    if (code == PosixCode::success) code = files.rename(staging->item(), toItem);
    if (code == PosixCode::success) code = files.synchronize(staging->folder());
    if (code != PosixCode::success) return failure(code);
  }
  return removeProtectedTree(files, item);
}

}  // namespace

Outcome moveItemAtPath(const ItemContext& context, const std::string& path,
                       const std::string& toPath) {
  const auto item = context.files.locate(path);
  if (!item) return fileWriteError(item.error(), path, toPath);
  const auto toItem = context.files.locate(toPath);
  if (!toItem) return fileWriteError(toItem.error(), path, toPath);
  if (item->meansFolder || toItem->meansFolder) {
    const auto status = context.files.status(item->at(), Links::stay);
    if (status && !status->isFolder()) {
      return fileWriteError(PosixCode::notDirectory, path, toPath);
    }
  }
  return moveItem(context, item->at(), path, toItem->at(), toPath);
}

Outcome moveItem(const ItemContext& context, FileAt item, const std::string& path, FileAt toItem,
                 const std::string& toPath) {
  const auto code = context.files.rename(item, toItem);
  if (code == PosixCode::success) return success;
  if (code != PosixCode::crossDevice) return fileWriteError(code, path, toPath);
  const auto failed = moveAcross(context, item, toItem);
  if (!failed) return success;
  return fileWriteError(failed->code, appendingPathComponent(path, failed->relativePath), toPath);
}

}  // namespace qrt::FileManager
