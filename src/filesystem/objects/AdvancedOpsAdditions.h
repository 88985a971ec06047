// Links, protection and classic attributes of objects.
#pragma once

#include <cstdint>
#include <string>

#include "base/Error.h"
#include "filesystem/objects/FileObjectInfo.h"
#include "platform/Platform.h"

namespace qrt {

/// Success, or an error of the POSIX or Cocoa domain. An empty path is POSIX 22. Thread-safe.
namespace AdvancedOpsAdditions {

Outcome createLinkAtPath(const Platform& platform, const std::string& path,
                         const std::string& toTarget, bool asHardLink);

/// Sets or clears the user immutable flag, of a link's target when the object is a link. Nothing at
/// the path is POSIX 2. Recursively, everything below a folder follows: links there have their
/// target changed if it is trusted (`holdTrustedTarget`), and lead to nothing else. What is on
/// another file system than the path itself can be left alone. The first failure ends it; what was
/// changed by then stays changed.
Outcome setUserImmutableAtPath(const Platform& platform, const std::string& path, bool toValue,
                               bool recursive, bool stayOnFileSystem);

/// Sets type and creator, then whether the object is hidden, of a link's target when the object is
/// a link. When the second fails, the first stays done.
Outcome setMacAttributesAtPath(const Platform& platform, const std::string& path,
                               std::uint32_t typeCode, std::uint32_t creatorCode, bool hidden);

/// The number of the file system that the object itself is on, or `noFileSystemID`. A link with a
/// slash after it is the folder that it leads to.
inline constexpr std::uint32_t noFileSystemID = 0xFFFFFFFF;
std::uint32_t fileSystemIDForPath(FileSystem& files, const std::string& path);

using qrt::addFileSystemObjectInfoDictionaryToArray;

}  // namespace AdvancedOpsAdditions
}  // namespace qrt
