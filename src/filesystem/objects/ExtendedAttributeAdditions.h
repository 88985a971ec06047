// All extended attributes of an object at once, and single ones.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/HeldObject.h"
#include "platform/Platform.h"

namespace qrt {

/// An empty path, name or value is POSIX 22, nothing at the path POSIX 2 with the path. A link that
/// leads nowhere counts as nothing even when links are not followed. Other failures are POSIX
/// errors with the path. Thread-safe.
namespace ExtendedAttributeAdditions {

/// Names and values. Attributes without contents are left out. The names are those of the link when
/// links are not followed; values are read from its target all the same.
Result<Dictionary> extendedAttributesForItemAtPath(const Platform& platform,
                                                   const std::string& path, bool notFollowingLinks,
                                                   bool exposingFSCompression);
/// The same for a held object. A link has its own names and values then.
PosixResult<Dictionary> extendedAttributesForItem(const Platform& platform, const HeldObject& item);

Outcome setForItemAtPath(const Platform& platform, const std::string& path, const Data& value,
                         const std::string& ofExtendedAttribute, bool notFollowingLinks);

Outcome removeFromItemAtPath(const Platform& platform, const std::string& path,
                             const std::string& extendedAttribute, bool notFollowingLinks,
                             bool includingFSCompression);

}  // namespace ExtendedAttributeAdditions
}  // namespace qrt
