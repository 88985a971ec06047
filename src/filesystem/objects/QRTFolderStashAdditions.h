// Moving a folder aside, with an empty substitute in its place.
#pragma once

#include <string>

#include "base/Error.h"
#include "operations/HandlerTable.h"
#include "platform/AccessControl.h"

namespace qrt {

/// Thread-safe.
namespace QRTFolderStashAdditions {

/// Gives a folder a new name in the folder that holds it, and may create an empty one in its place
/// with the same owner, permissions, access control list, flags and extended attributes. An empty
/// path or name is POSIX 22, anything but a folder (links followed) POSIX 20, a name that is taken
/// POSIX 17. When the substitute cannot be made the folder stays moved.
Outcome moveFolderAtPath(const Platform& platform, const std::string& path,
                         const std::string& newName, bool creatingEmptySubstitute);

/// What a folder has apart from its contents.
struct FolderMetadata {
  FileStatus status;
  AccessRights rights;
  /// Names and values.
  Dictionary extendedAttributes;
};

/// Changes what differs from the saved metadata. What cannot be changed stays as it is. The folder
/// is open, because metadata must not reach an object that another process puts in its place.
void enforceFolderMetadata(const Platform& platform, const FolderMetadata& metadata,
                           const Folder& ifNecessaryIgnoringErrorsForItem);

/// Arguments: path, new name, create a substitute.
HandlerFunction performOperationRenameStashfolderWithArguments;

}  // namespace QRTFolderStashAdditions
}  // namespace qrt
