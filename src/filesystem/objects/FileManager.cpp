#include "filesystem/objects/FileManager.h"

#include "base/Path.h"
#include "base/Text.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/TreeCopy.h"
#include "filesystem/objects/TreeRemoval.h"
#include "platform/Platform.h"

namespace qrt::FileManager {
namespace {

std::optional<TreeFailure> linkItem(const Platform& platform, FileAt item, FileAt toItem) {
  auto& files = platform.files;
  const auto held = files.hold(item, Links::stay);
  const auto status = held ? held->status() : held.error();
  if (!status) return TreeFailure{status.error(), {}};
  if (status->isFolder()) return linkFolder(platform, *held, toItem);
  auto code = PosixCode::success;
  if (status->isLink()) {
    const auto target = files.linkTarget(*held);
    code = target ? files.createLink(toItem, *target) : target.error();
  } else {
    code = files.createHardLink(toItem, item);
  }
  if (code == PosixCode::success) return std::nullopt;
  return TreeFailure{code, {}};
}

}  // namespace

PosixResult<FileStatus> statusOfItemAtPath(FileSystem& files, const std::string& path) {
  return holdsZeroByte(path) ? PosixCode::noEntry : files.status(path.c_str(), Links::follow);
}

bool fileExistsAtPath(FileSystem& files, const std::string& path, bool* isDirectory) {
  const auto status = statusOfItemAtPath(files, path);
  if (!status) return false;
  if (isDirectory != nullptr) *isDirectory = status->isFolder();
  return true;
}

PosixResult<HeldObject> holdItemAtPath(FileSystem& files, const std::string& path, Links links) {
  const auto location = files.locate(path);
  return location ? files.hold(location->at(), links) : location.error();
}

PosixResult<Folder> openFolderAtPath(FileSystem& files, const std::string& path) {
  return holdsZeroByte(path) ? PosixCode::noEntry : files.openFolder(path.c_str(), Links::follow);
}

PosixCode reasonAtPath(FileSystem& files, const std::string& path, PosixCode failure) {
  const bool isThere = isExhaustion(failure) || fileExistsAtPath(files, path);
  return isThere ? failure : PosixCode::noEntry;
}

Outcome removeItemAtPath(const Platform& platform, const std::string& path) {
  const auto location = platform.files.locate(path);
  const auto status =
      location ? platform.files.status(location->at(), Links::stay) : location.error();
  if (!status) return fileWriteError(status.error(), path);
  return removeItem(platform, location->at(), *status, path);
}

Outcome removeItem(const Platform& platform, FileAt item, const FileStatus& seen,
                   const std::string& path) {
  const auto failure = removeTree(platform, item, seen);
  if (!failure) return success;
  return fileWriteError(failure->code, path::below(path, failure->relativePath));
}

Outcome linkItemAtPath(const Platform& platform, const std::string& path,
                       const std::string& toPath) {
  auto& files = platform.files;
  const auto item = files.locate(path);
  if (!item) return fileWriteError(item.error(), path, toPath);
  const auto toItem = files.locate(toPath);
  if (!toItem) return fileWriteError(toItem.error(), path, toPath);
  if (toItem->meansFolder) return fileWriteError(PosixCode::noEntry, path, toPath);
  const auto failed = linkItem(platform, item->at(), toItem->at());
  if (!failed) return success;
  return fileWriteError(failed->code, path::appending(path, failed->relativePath), toPath);
}

Outcome createSymbolicLinkAtPath(FileSystem& files, const std::string& path,
                                 const std::string& withDestinationPath) {
  const auto link = files.locate(path);
  if (!link) return fileWriteError(link.error(), path);
  if (link->meansFolder) return fileWriteError(PosixCode::noEntry, path);
  const auto code = files.createLink(link->at(), withDestinationPath);
  if (code == PosixCode::success) return success;
  return fileWriteError(code, path);
}

}  // namespace qrt::FileManager
