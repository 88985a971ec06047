// The operations delete-fileobjects and delete-foldercontents.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {

/// `feedback` may be null everywhere.
namespace DeletionOperations {

/// Deletes one path after the other and tells the progress after each. The result is the error of
/// the last path that failed.
Outcome deleteFileSystemObjectsAtPaths(const DeletionContext& context,
                                       const std::vector<std::string>& paths, bool recursive,
                                       bool stopOnFirstError, FeedbackConnection* feedback);

/// An error of the file-deletion domain as one of the privileged-operation domain, with texts.
/// Others stay as they are.
Outcome privilegedOperationErrorForFileDeletionError(Outcome error);

/// Arguments: recursive, stop on first error ("1" or "0" each), then paths.
Outcome performOperationDeleteFileobjectsWithArguments(const DeletionContext& context,
                                                       const Array& arguments,
                                                       FeedbackConnection* feedback);

/// Arguments: folders, which stay. One that does not exist is passed over.
Outcome performOperationDeleteFoldercontentsWithArguments(const DeletionContext& context,
                                                          const Array& arguments,
                                                          FeedbackConnection* feedback);

}  // namespace DeletionOperations
}  // namespace qrt
