// Deletion of objects in spite of the flags that protect them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

struct Platform;

/// Success, or an error of the file-deletion, POSIX or Cocoa domain. Paths are resolved once, up to
/// the folder that holds the object; everything else uses that folder. Flags that were
/// cleared stay cleared when the removal fails. Thread-safe.
namespace QRTFileDeletionAdditions {

/// Codes of the file-deletion domain. All carry the path; `systemProtected` also the error it
/// replaces.
enum class Code : std::int64_t {
  whiteout = 1,
  flagsNotChangeable = 2,
  systemFlags = 3,
  systemProtected = 4,
};

constexpr std::string_view fileDeletionErrorDomain() { return "com.vantor.error.file-deletion"; }

Outcome enforceRemovalOfFileSystemObjectAtPath(const Platform& platform, const std::string& path,
                                               bool recursive);

/// One file, link or empty folder. The user immutable and append-only flags are cleared first.
Outcome enforceSingleRemovalOfFileSystemObjectAtPath(const Platform& platform,
                                                     const std::string& path);

/// An object and everything below it. The user immutable flags of all of it are cleared before the
/// first object is removed; no other flag is. Nothing at the path, or a link that leads nowhere, is
/// a success that changes nothing.
Outcome enforceRecursiveRemovalOfFileSystemObjectAtPath(const Platform& platform,
                                                        const std::string& path);
/// The same for an object whose folder is open. `path` is for errors.
Outcome enforceRecursiveRemovalOfFileSystemObject(const Platform& platform, FileAt object,
                                                  const std::string& path);

/// Sets or clears the user immutable flag, of a link's target when the object is a link. A link
/// that leads nowhere is POSIX 2 when its target is checked, otherwise skipped. A file system
/// without flags counts as cleared.
Outcome setImmutableFlag(FileSystem& files, bool flag, const std::string& path,
                         bool checkingExistenceOfLinkTarget);

/// Whether System Integrity Protection keeps the object. If it does, `refiningError`, if given,
/// becomes `systemProtected` with what it was as the underlying error.
bool isSIPRestrictedObjectAtPath(const Platform& platform, const std::string& path,
                                 Outcome* refiningError = nullptr);

}  // namespace QRTFileDeletionAdditions
}  // namespace qrt
