// The operations on access rights.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt::PermissionOperations {

/// Arguments: path, access control list in its external form. Replaces the list of the object, of a
/// link's target; an empty list removes it. Bytes that are not a list are POSIX 22.
HandlerFunction performOperationModifyAclWithArguments;

/// Arguments: folder, expected number of objects, stay on the file system, options (see
/// PermissionPropagation.h).
HandlerFunction performOperationPropPermissionsWithArguments;

}  // namespace qrt::PermissionOperations
