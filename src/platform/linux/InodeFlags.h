// Immutable and append-only, as Linux file systems keep them.
#pragma once

#include <cstdint>

#include "platform/FileSystem.h"

namespace qrt::inode_flags {

/// The flags among the attributes that `statx` tells.
std::uint32_t fromAttributes(std::uint64_t attributes);

/// True for regular files and folders. Flags of anything else are neither read nor written: the
/// calls would reach a driver, or do something on some file systems only.
bool mayBeOn(std::uint32_t type);

/// Whether an object of that type can have the flags (`file_flag`): no others than these two exist
/// here.
bool canBe(std::uint32_t flags, std::uint32_t type);

/// Gives a regular file or folder the known flags `wanted` and keeps its other inode flags. Any
/// other object, and a file system without such flags, is `notSupported`. Takes the best of the
/// ways below.
PosixCode write(FileAt object, Links links, std::uint32_t wanted);

/// Two calls on the name itself, from kernel 6.17; `notImplemented` before. Does not follow links.
PosixCode writeByName(FileAt object, std::uint32_t wanted);

/// Opens the object; on every kernel.
PosixCode writeByDescriptor(FileAt object, Links links, std::uint32_t wanted);

/// The same for a regular file or folder that is held.
PosixCode write(int object, std::uint32_t wanted);

}  // namespace qrt::inode_flags
