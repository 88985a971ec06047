// The operations on one file-system object.
#pragma once

#include <string>

#include "base/Error.h"
#include "operations/HandlerTable.h"
#include "platform/FileSystem.h"

namespace qrt::FileObjectOperations {

/// Creates an empty file ("F"), an empty executable ("X") or a folder ("D") that belongs to root
/// and that every user may read. Another type code or an empty path is POSIX 22, an existing object
/// POSIX 17. An object whose owner cannot be set stays.
Outcome createFileSystemObjectAtPath(FileSystem& files, const std::string& path,
                                     const std::string& withTypeCode);

/// The value of "ObjectExistence" in the answer to an inspection. Links are followed.
enum class ObjectExistence { none = 0, folder = 1, other = 2 };

/// Arguments: path, type code.
HandlerFunction performOperationCreateFileobjectWithArguments;

/// Arguments: path, new path. A new path where an object exists is an error; see
/// `FileManager::moveItemAtPath`.
HandlerFunction performOperationRenameFileobjectWithArguments;

/// Arguments: path. Never a success: the answer is an error of code 0.
HandlerFunction performOperationInspectFileobjectWithArguments;

/// Arguments: path. Sets the times of access and modification to now and creates nothing.
HandlerFunction performOperationTouchFileobjectWithArguments;

/// Arguments: path, whether it becomes immutable, recursive, stay on the file system.
HandlerFunction performOperationModifyProtectionWithArguments;

/// Arguments: path, type code, creator code, hidden.
HandlerFunction performOperationModifyHfsattrWithArguments;

/// Arguments: path of the link, its target, hard link.
HandlerFunction performOperationCreateLinkWithArguments;

}  // namespace qrt::FileObjectOperations
