// The file manager: whole-object operations with errors of their own.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Errors are those of FileManagerError.h. A path with a zero byte names nothing. Thread-safe.
namespace FileManager {

/// Links are followed.
PosixResult<FileStatus> statusOfItemAtPath(FileSystem& files, const std::string& path);
/// Links are followed. `*isDirectory`, if given, is set when something exists. What the answer is
/// about may be gone or another object afterwards: to act on it, hold it.
bool fileExistsAtPath(FileSystem& files, const std::string& path, bool* isDirectory = nullptr);

/// The object at a path, or the target of a link there.
PosixResult<HeldObject> holdItemAtPath(FileSystem& files, const std::string& path, Links links);
/// Links are followed.
PosixResult<Folder> openFolderAtPath(FileSystem& files, const std::string& path);

/// Why the object at a path could not be held or opened: `noEntry` when nothing is there (links are
/// followed), whatever the system said, and else the failure itself.
PosixCode reasonAtPath(FileSystem& files, const std::string& path, PosixCode failure);

/// The names in an open folder, hidden ones included, in the order of the file system. `path` is
/// for errors.
Result<std::vector<std::string>> contentsOfDirectory(Folder& folder, const std::string& path);

/// Removes an object, a folder with everything below it. Links are removed, not followed. The error
/// names the object that could not be removed.
Outcome removeItemAtPath(FileSystem& files, const std::string& path);
Outcome removeItem(FileSystem& files, FileAt item, const std::string& path);

}  // namespace FileManager
}  // namespace qrt
