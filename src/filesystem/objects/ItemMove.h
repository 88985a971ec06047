// The file manager's moves.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt::FileManager {

/// Gives an object another path, a link itself and not its target. A path that is taken is an
/// error. To another volume the object is copied with everything attached to it, appears there
/// complete, and only then is removed here; whatever goes wrong, one complete object is at one of
/// the two paths. Errors carry both paths. Thread-safe.
Outcome moveItemAtPath(const Platform& platform, const std::string& path,
                       const std::string& toPath);

/// The same for objects whose folders are open; the paths are for errors.
Outcome moveItem(const Platform& platform, FileAt item, const std::string& path, FileAt toItem,
                 const std::string& toPath);

/// Whether an item of `parent` can be removed once it is copied to another volume. Refuses what a
/// move on one volume refuses: items of a read-only volume, mount points, and items with a flag
/// that fixes them in their place.
PosixCode checkRemovable(const Folder& parent, const FileStatus& item);

}  // namespace qrt::FileManager
