// Copying an object with everything below it and everything attached to it.
#pragma once

#include <optional>

#include "filesystem/walk/TreeWalk.h"
#include "platform/Platform.h"

namespace qrt {

/// Copies contents, owner, permissions with their access control lists, times, flags and extended
/// attributes; links as links, hard links within the tree as hard links where they can be, holes as
/// holes. What the new file system does not support is left out, which gives no user more rights to
/// the copy. No other user may be able to change the folder that the copy is made in.
///
/// A volume mounted below `from` is `busy`; a tree that holds the folder of its own copy, which
/// another mount of it makes possible, is `invalidArgument`. The first error ends the copying; what
/// was copied by then stays.
std::optional<TreeFailure> copyTree(const Platform& platform, const HeldObject& from, FileAt to);

/// Makes a new folder like `from` with hard links of the items in it, at any depth. Links get new
/// ones with the same text.
std::optional<TreeFailure> linkFolder(const Platform& platform, const HeldObject& from, FileAt to);

}  // namespace qrt
