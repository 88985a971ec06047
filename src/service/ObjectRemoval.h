// Removing the daemon's own files, whatever protects them.
#pragma once

#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

class FileSystem;
class Log;

/// Removes each object that is named by a string; other elements are passed over. Goes on after a
/// failure; the last one is returned.
Outcome deleteFileSystemObjectsWithPaths(FileSystem& files, Log& log, const Array& paths);

/// Removes one object, a folder only when it is empty, links themselves. Flags that the owner can
/// clear are cleared first; what only the system can unlock is POSIX error 5.
Outcome enforceRemovalOfFileSystemObjectAtPath(FileSystem& files, const std::string& path);

}  // namespace qrt
