// The file manager: whole-object operations with errors of their own.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Errors are those of FileManagerError.h. A path with a zero byte names nothing. Thread-safe.
namespace FileManager {

/// Links are followed. `*isDirectory`, if given, is set when something exists.
bool fileExistsAtPath(FileSystem& files, const std::string& path, bool* isDirectory = nullptr);

/// The names in a folder, hidden ones included, in the order of the file system. In two steps, for
/// callers that act on the entries: through the open folder they cannot be led astray. Links to
/// folders are followed. `path` is for errors.
Result<Folder> openDirectoryAtPath(FileSystem& files, const std::string& path);
Result<std::vector<std::string>> contentsOfDirectory(Folder& folder, const std::string& path);

/// Removes an object, a folder with everything below it. Links are removed, not followed. The error
/// names the object that could not be removed.
Outcome removeItemAtPath(FileSystem& files, const std::string& path);
Outcome removeItem(FileSystem& files, FileAt item, const std::string& path);

}  // namespace FileManager
}  // namespace qrt
