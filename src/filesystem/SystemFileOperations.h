// Replacing a file of the system while keeping its metadata.
#pragma once

#include <string>

#include "base/Error.h"
#include "filesystem/ItemContext.h"

namespace qrt::SystemFileOperations {

/// Gives a file new contents. The old file is moved to the same path with ".backup", taking the
/// place of what is there, and the new one gets its owner, permissions with their access control
/// list, flags and classic type and creator. Links are followed; the backup is beside the target.
///
/// Whenever the process ends, the old contents are at one of the two paths, until the new ones are
/// safe and the backup was asked to go. Contents that could not be written are no error: the backup
/// then stays, asked for or not.
Outcome overwriteSystemFileAtPath(const ItemContext& context, const std::string& path,
                                  const Data* withContent, bool removeBackup);

/// Arguments: path, contents, remove the backup.
Outcome performOperationModifySystemfileWithArguments(const ItemContext& context,
                                                      const Array& arguments);

}  // namespace qrt::SystemFileOperations
