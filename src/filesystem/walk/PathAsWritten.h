// What the system says to a path as it is written, with its slashes and dots at the end.
#pragma once

#include <string>

#include "platform/FileSystem.h"

namespace qrt {

/// `notDirectory` for a path that ends in a slash where something else than a folder is, which is
/// neither that object nor nothing.
PosixCode slashRefusal(FileSystem& files, const std::string& path);

/// Why the object at a path, which is at that location, must not be removed: "/" and paths that end
/// in "." or ".." name no entry of a folder, and a link is not what it leads to.
PosixCode removalRefusal(FileSystem& files, const Location& location, const std::string& path);

}  // namespace qrt
