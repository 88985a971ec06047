// Adding up what is below a folder, in no particular order, with both processors.
#pragma once

#include <cstdint>
#include <string>

#include "base/Result.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {

/// Paths are without links. Unreadable folders and objects without a readable status are
/// skipped; an error is that descriptors or memory ran out.

/// The number of objects that a `QRTDirectoryEnumerator` would return. Logs its limits as that
/// does.
PosixResult<std::uint64_t> numberOfObjectsBelow(FileSystem& files, Log& log,
                                                const std::string& path, bool stayOnFileSystem);

/// The logical sizes in bytes of all objects, folders and links with their own; on every file
/// system.
PosixResult<std::uint64_t> storageSizeBelow(FileSystem& files, const std::string& path);

}  // namespace qrt
