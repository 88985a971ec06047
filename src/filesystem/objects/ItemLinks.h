// The file manager's links.
#pragma once

#include <string>

#include "base/Error.h"
#include "filesystem/objects/ItemContext.h"

namespace qrt::FileManager {

/// Gives a file a second path. A folder has none: a new one is made with second paths for the items
/// in it. A symbolic link is not followed; the new one has the same text.
Outcome linkItemAtPath(const ItemContext& context, const std::string& path,
                       const std::string& toPath);

/// Makes a link that holds the destination as it is written.
Outcome createSymbolicLinkAtPath(FileSystem& files, const std::string& path,
                                 const std::string& withDestinationPath);

/// The path without links in it; the path as it is when it leads nowhere.
std::string stringByResolvingSymlinksInPath(FileSystem& files, const std::string& path);

}  // namespace qrt::FileManager
