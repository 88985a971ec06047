// The operations on one file-system object.
#pragma once

#include <string>

#include "base/Error.h"
#include "filesystem/objects/ItemContext.h"

namespace qrt::FileObjectOperations {

/// Creates an empty file ("F"), an empty executable ("X") or a folder ("D") that belongs to root,
/// open to be read by everybody. Another type code or an empty path is POSIX 22, an existing object
/// POSIX 17. An object whose owner cannot be set stays.
Outcome createFileSystemObjectAtPath(FileSystem& files, const std::string& path,
                                     const std::string& withTypeCode);

/// What the answer to an inspection says, under "ObjectExistence". Links are followed.
enum class ObjectExistence { none = 0, folder = 1, other = 2 };

/// Arguments: path, type code.
Outcome performOperationCreateFileobjectWithArguments(const ItemContext& context,
                                                      const Array& arguments);
/// Arguments: path, new path. Taken paths are errors; see `FileManager::moveItemAtPath`.
Outcome performOperationRenameFileobjectWithArguments(const ItemContext& context,
                                                      const Array& arguments);
/// Arguments: path. Never a success: the answer is an error of code 0.
Outcome performOperationInspectFileobjectWithArguments(const ItemContext& context,
                                                       const Array& arguments);
/// Arguments: path. Sets the times of access and modification to now and creates nothing.
Outcome performOperationTouchFileobjectWithArguments(const ItemContext& context,
                                                     const Array& arguments);
/// Arguments: path, whether it shall be immutable, recursive, stay on the file system.
Outcome performOperationModifyProtectionWithArguments(const ItemContext& context,
                                                      const Array& arguments);
/// Arguments: path, type code, creator code, hidden.
Outcome performOperationModifyHfsattrWithArguments(const ItemContext& context,
                                                   const Array& arguments);
/// Arguments: path of the link, its target, hard link.
Outcome performOperationCreateLinkWithArguments(const ItemContext& context, const Array& arguments);

}  // namespace qrt::FileObjectOperations
