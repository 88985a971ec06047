// Replacing a file of the system while keeping its metadata.
#pragma once

#include <string>

#include "base/Error.h"
#include "operations/HandlerTable.h"

namespace qrt::SystemFileOperations {

/// Gives a file new contents. The old file gets the same path with ".backup", in the place of what
/// is there, and the new one its owner, permissions with their access control list, flags and
/// classic attributes. Links are followed; the backup is beside the target.
///
/// The new file is completed under a temporary name first. Whenever the process ends, the path
/// leads to the old file or to the new one, whole. On a file system without links it may lead to
/// nothing while the old file is the backup. The next replacement of the same file removes a
/// temporary file that was left. A failed write is not an error: the old file then stays and is the
/// backup as well, even if the backup was to be removed. After any other failure the old file stays
/// and there is no backup.
Outcome overwriteSystemFileAtPath(const Platform& platform, const std::string& path,
                                  const Data* withContent, bool removeBackup);

/// Arguments: path, contents, remove the backup.
HandlerFunction performOperationModifySystemfileWithArguments;

}  // namespace qrt::SystemFileOperations
