#include "filesystem/objects/FileManager.h"

#include "base/Path.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/TreeRemoval.h"

namespace qrt::FileManager {

PosixResult<FileStatus> statusOfItemAtPath(FileSystem& files, const std::string& path) {
  return path::holdsZeroByte(path) ? PosixCode::noEntry : files.status(path.c_str(), Links::follow);
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
  return path::holdsZeroByte(path) ? PosixCode::noEntry
                                   : files.openFolder(path.c_str(), Links::follow);
}

PosixCode reasonAtPath(FileSystem& files, const std::string& path, PosixCode failure) {
  const bool isThere = isExhaustion(failure) || fileExistsAtPath(files, path);
  return isThere ? failure : PosixCode::noEntry;
}

Result<std::vector<std::string>> contentsOfDirectory(Folder& folder, const std::string& path) {
  std::vector<std::string> names;
  for (;;) {
    const auto entry = folder.next();
    if (!entry) return fileReadError(entry.error(), path);
    if (!*entry) return names;
    names.emplace_back((*entry)->name);
  }
}

Outcome removeItemAtPath(FileSystem& files, const std::string& path) {
  const auto location = files.locate(path);
  if (!location) return fileWriteError(location.error(), path);
  return removeItem(files, location->at(), path);
}

Outcome removeItem(FileSystem& files, FileAt item, const std::string& path) {
  const auto failure = removeTree(files, item);
  if (!failure) return success;
  return fileWriteError(failure->code, path::below(path, failure->relativePath));
}

}  // namespace qrt::FileManager
