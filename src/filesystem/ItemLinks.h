// The file manager's links.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt::FileManager {

/// Gives an object a second path. A link gets one itself, not its target; folders cannot.
Outcome linkItemAtPath(FileSystem& files, const std::string& path, const std::string& toPath);

/// Makes a link that holds the destination as it is written.
Outcome createSymbolicLinkAtPath(FileSystem& files, const std::string& path,
                                 const std::string& withDestinationPath);

/// The path without links in it; the path as it is when it leads nowhere.
std::string stringByResolvingSymlinksInPath(FileSystem& files, const std::string& path);

}  // namespace qrt::FileManager
