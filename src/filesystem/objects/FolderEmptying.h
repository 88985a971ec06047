// Deleting everything in a folder.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/Folder.h"

namespace qrt {

struct Platform;

/// Removes each object in the folder with everything below it, as
/// `enforceRecursiveRemovalOfFileSystemObject` does, and returns the first error. What was removed
/// by then stays removed. The folder's names are not kept: it may have any number of them. `path`
/// is the folder's, for errors.
Outcome emptyFolder(const Platform& platform, const Folder& folder, const std::string& path);

}  // namespace qrt
