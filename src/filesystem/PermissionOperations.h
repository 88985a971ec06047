// The operations on access rights.
#pragma once

#include "base/Error.h"
#include "filesystem/objects/ItemContext.h"
#include "platform/Log.h"
#include "protocol/FeedbackConnection.h"

namespace qrt::PermissionOperations {

/// Arguments: path, access control list in its external form. Replaces the list of what the path
/// leads to; a list that says nothing takes it away. Bytes that are no list are POSIX 22.
Outcome performOperationModifyAclWithArguments(const ItemContext& context, const Array& arguments);

/// Arguments: folder, expected number of objects, stay on the file system, options (see
/// PermissionPropagation.h).
Outcome performOperationPropPermissionsWithArguments(const ItemContext& context, Log& log,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback);

}  // namespace qrt::PermissionOperations
