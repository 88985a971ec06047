// The target of a link in a user's tree, if the owner of the link may have it changed.
#pragma once

#include <optional>

#include "platform/FileSystem.h"

namespace qrt {

/// Holds the target of a link, for operations on a tree that change the targets of its links.
/// The owner of a tree can make a link to anything, so the target counts only when the link, and
/// each further link on the way, belongs to root or to the owner of the target, and when link and
/// target are on one file system. Empty for other links, and for those that lead nowhere. An object
/// that is not a link any more is its own target.
///
/// Resolves one component at a time and holds at most two descriptors.
PosixResult<std::optional<HeldObject>> holdTrustedTarget(FileSystem& files, FileAt link);

}  // namespace qrt
