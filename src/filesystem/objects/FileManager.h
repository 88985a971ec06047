// The file manager: whole-object operations with errors of their own.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

struct Platform;

/// Errors are those of FileManagerError.h. A path with a zero byte names nothing. Thread-safe.
namespace FileManager {

/// Links are followed.
PosixResult<FileStatus> statusOfItemAtPath(FileSystem& files, const std::string& path);
/// Links are followed. `*isDirectory`, if given, is set when something exists. The object may have
/// vanished or changed when the caller reads the answer: to act on it, hold it.
bool fileExistsAtPath(FileSystem& files, const std::string& path, bool* isDirectory = nullptr);

/// The object at a path, or the target of a link there.
PosixResult<HeldObject> holdItemAtPath(FileSystem& files, const std::string& path, Links links);
/// Links are followed.
PosixResult<Folder> openFolderAtPath(FileSystem& files, const std::string& path);

/// The reason to report when the object at a path could not be held or opened: `noEntry` if nothing
/// is there (links are followed), otherwise `failure` itself.
PosixCode reasonAtPath(FileSystem& files, const std::string& path, PosixCode failure);

/// Removes an object, a folder with everything below it. Links are removed, not followed. The error
/// names the object that could not be removed.
Outcome removeItemAtPath(const Platform& platform, const std::string& path);
/// `seen` is the item's status, just read.
Outcome removeItem(const Platform& platform, FileAt item, const FileStatus& seen,
                   const std::string& path);

/// Gives a file a second path. A folder cannot have one: it gets a new folder at the second path,
/// with second paths for the items in it. A symbolic link is not followed; the new one has the same
/// text.
Outcome linkItemAtPath(const Platform& platform, const std::string& path,
                       const std::string& toPath);

/// Makes a link that holds the destination as it is written.
Outcome createSymbolicLinkAtPath(FileSystem& files, const std::string& path,
                                 const std::string& withDestinationPath);

}  // namespace FileManager
}  // namespace qrt
