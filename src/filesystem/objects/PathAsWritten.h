// How the system judges a path as it is written, with its slashes and dots at the end.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

/// `notDirectory` for a path that ends in a slash where something else than a folder is. Such a
/// path names neither that object nor nothing.
PosixCode slashRefusal(FileSystem& files, const std::string& path);

/// The reason not to remove the object at `path`, which `location` holds: "/" and paths that end in
/// "." or ".." name no entry of a folder, and a link is not its target.
PosixCode removalRefusal(FileSystem& files, const Location& location, const std::string& path);

/// The path of a folder without links, for walks that report what they find. An empty path is
/// POSIX 22, a path where nothing exists POSIX 2, an object that is not a folder POSIX 20.
Result<std::string> resolvedSearchFolder(FileSystem& files, const std::string& path);

}  // namespace qrt
