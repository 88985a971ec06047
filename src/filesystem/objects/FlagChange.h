// Changing the flags that protect objects.
#pragma once

#include <cstdint>
#include <optional>

#include "filesystem/walk/TreeWalk.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Sets or clears some flags of an object. `seen` is its status as just read. A file system without
/// these flags counts as cleared. An object that took the place of `object` since then is not
/// followed when it is a link.
PosixCode changeFlags(FileSystem& files, FileAt object, const FileStatus& seen, std::uint32_t flags,
                      bool value);
PosixCode changeFlags(const HeldObject& object, const FileStatus& seen, std::uint32_t flags,
                      bool value);

/// A change of the flags of many objects.
struct TreeFlagChange {
  enum class OfLinks { leave, change, changeTrustedTarget };

  std::uint32_t flags;
  bool value;
  /// See `holdTrustedTarget` for the last of them.
  OfLinks ofLinks;
  /// The objects are about to be removed: one that has vanished is not an error, and objects
  /// without any of these flags are skipped, except the roots of mounts.
  std::optional<std::uint32_t> onlyWith;
  /// Objects on other file systems are skipped, and so are objects that have vanished.
  std::optional<std::uint32_t> onlyFileSystem;
};

/// Changes the flags of everything below `top`. The first failure ends the walk; what was changed
/// by then stays changed.
std::optional<TreeFailure> changeFlagsBelow(const Platform& platform, FileAt top,
                                            const TreeFlagChange& change);

}  // namespace qrt
