#include "filesystem/objects/ItemLinks.h"

#include "base/Path.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/TreeCopy.h"

namespace qrt::FileManager {

namespace {

std::optional<TreeFailure> linkItem(const ItemContext& context, FileAt item, FileAt toItem) {
  auto& files = context.files;
  const auto held = files.hold(item, Links::stay);
  const auto status = held ? held->status() : held.error();
  if (!status) return TreeFailure{status.error(), {}};
  if (status->isFolder()) return linkFolder(context, *held, toItem);
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

Outcome linkItemAtPath(const ItemContext& context, const std::string& path,
                       const std::string& toPath) {
  auto& files = context.files;
  const auto item = files.locate(path);
  if (!item) return fileWriteError(item.error(), path, toPath);
  const auto toItem = files.locate(toPath);
  if (!toItem) return fileWriteError(toItem.error(), path, toPath);
  if (toItem->meansFolder) return fileWriteError(PosixCode::noEntry, path, toPath);
  const auto failed = linkItem(context, item->at(), toItem->at());
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

std::string stringByResolvingSymlinksInPath(FileSystem& files, const std::string& path) {
  auto resolved = files.resolvedPath(path);
  return resolved ? std::move(*resolved) : path;
}

}  // namespace qrt::FileManager
