// Adding up what is below a folder, in no particular order, with several threads.
#pragma once

#include <cstdint>
#include <string>

#include "base/Result.h"
#include "platform/Platform.h"

namespace qrt {

/// Paths are without links. Unreadable folders and objects without a readable status are
/// skipped; an error is that descriptors or memory ran out.

/// The number of objects that a `QRTDirectoryEnumerator` would return. Logs its limits as that
/// does.
PosixResult<std::uint64_t> numberOfObjectsBelow(const Platform& platform, const std::string& path,
                                                bool stayOnFileSystem);

/// The logical sizes in bytes of all objects, folders and links with their own; on every file
/// system.
PosixResult<std::uint64_t> storageSizeBelow(const Platform& platform, const std::string& path);

}  // namespace qrt
