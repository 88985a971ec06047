#include "filesystem/ItemLinks.h"

#include "filesystem/FileManagerError.h"

namespace qrt::FileManager {

Outcome linkItemAtPath(FileSystem& files, const std::string& path, const std::string& toPath) {
  const auto item = files.locate(path);
  if (!item) return fileWriteError(item.error(), path, toPath);
  const auto toItem = files.locate(toPath);
  if (!toItem) return fileWriteError(toItem.error(), path, toPath);
  if (toItem->meansFolder) return fileWriteError(PosixCode::noEntry, path, toPath);
  const auto code = files.createHardLink(toItem->at(), item->at());
  if (code == PosixCode::success) return success;
  return fileWriteError(code, path, toPath);
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
