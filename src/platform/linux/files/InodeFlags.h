// Immutable and append-only, as Linux file systems keep them.
#pragma once

#include <cstdint>

#include "platform/FileSystem.h"

namespace qrt::inode_flags {

/// The flags among the attributes that `statx` returns.
std::uint32_t fromAttributes(std::uint64_t attributes);

/// True for regular files and folders. Flags of anything else are neither read nor written: the
/// calls would reach a driver, or do something on some file systems only.
bool mayBeOn(std::uint32_t type);

/// Whether an object of that type can have the flags (`file_flag`): no others than these two exist
/// here.
bool canBe(std::uint32_t flags, std::uint32_t type);

/// The flags of an object when it was looked at, and those that it is to get. Only flags that
/// differ are written; all others keep the value that the object has at that moment.
struct Change {
  std::uint32_t seen;
  std::uint32_t wanted;
};

/// Changes known flags of a regular file or folder; a link is not followed. Any other object, and a
/// file system without such flags, is `notSupported`. Takes the best of the ways below.
PosixCode write(FileAt object, Change change);
/// The same for a held object.
PosixCode write(const HeldObject& object, Change change);

/// Two calls on the name itself, from kernel 6.17; `notImplemented` before.
PosixCode writeByName(FileAt object, Change change);
/// Opens the object; on every kernel.
PosixCode writeByDescriptor(const HeldObject& object, Change change);

}  // namespace qrt::inode_flags
