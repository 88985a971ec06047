// The operations delete-fileobjects and delete-foldercontents.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"
#include "operations/HandlerTable.h"

namespace qrt::DeletionOperations {

/// Deletes one path after the other and sends the progress after each. The result is the error of
/// the last path that failed. `feedback` may be null.
Outcome deleteFileSystemObjectsAtPaths(const Platform& platform,
                                       const std::vector<std::string>& paths, bool recursive,
                                       bool stopOnFirstError, FeedbackConnection* feedback);

/// An error of the file-deletion domain as one of the privileged-operation domain, with texts.
/// Others stay as they are.
Outcome privilegedOperationErrorForFileDeletionError(Outcome error);

/// Arguments: recursive, stop on first error ("1" or "0" each), then paths.
HandlerFunction performOperationDeleteFileobjectsWithArguments;

/// Arguments: folders, which stay. A folder that does not exist is skipped.
HandlerFunction performOperationDeleteFoldercontentsWithArguments;

}  // namespace qrt::DeletionOperations
