// Removing an object with everything below it.
#pragma once

#include <optional>

#include "filesystem/walk/TreeWalk.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Removes the object, whose status was just read, never the target of a link. An entry that
/// vanishes by itself is not an error. The first error ends it; what was removed by then stays
/// removed. Mounted volumes are emptied as well.
std::optional<TreeFailure> removeTree(const Platform& platform, FileAt top, const FileStatus& seen);

/// The same of everything in an open folder, which stays.
std::optional<TreeFailure> removeContents(const Platform& platform, const Folder& folder);

}  // namespace qrt
