// Removing the daemon's own files, although flags protect them.
#pragma once

#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

struct Platform;

/// Removes each object that is named by a string; other elements are skipped. Continues after a
/// failure; the last failure is returned.
Outcome deleteFileSystemObjectsWithPaths(const Platform& platform, const Array& paths);

/// `QRTFileDeletionAdditions::enforceSingleRemovalOfFileSystemObjectAtPath` with POSIX errors only:
/// an object that only the system can unlock is POSIX error 5.
Outcome enforceRemovalOfFileSystemObjectAtPath(const Platform& platform, const std::string& path);

}  // namespace qrt
