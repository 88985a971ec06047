// The operations that search for objects, and the one that measures them.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt::SearchOperations {

/// All take a folder first: an empty path is POSIX 22, a path where nothing exists POSIX 2, an
/// object that is not a folder POSIX 20.

/// Arguments: folder, age in days since the last change, stay on the file system. An object that
/// was changed in the future has no age.
HandlerFunction performOperationSearchAgedfilesWithArguments;

/// Arguments: folder, prefix, extension (either may be empty), whether folders are searched for or
/// other objects. Searches that one folder. A link counts as its target; one without a target is
/// never found.
HandlerFunction performOperationSearchFilenamesWithArguments;

/// Arguments: folder, stay on the file system ("1" or "0"), then match types and patterns in turn;
/// see `AdvancedOpsAdditions::searchForFileNamesAtPath`.
HandlerFunction performOperationSearchPatternsWithArguments;

/// Arguments: folder, stay on the file system. Reports objects whose owner is not a known user. An
/// orphaned folder is reported in place of its contents if no object in it belongs to a known user;
/// otherwise only its contents are reported.
HandlerFunction performOperationSearchFileorphansWithArguments;

/// Arguments: folder. Never a success: the answer is an error of code 0 with the sum of the logical
/// sizes in bytes of everything below the folder, under "Size".
HandlerFunction performOperationInspectStoragesizeWithArguments;

}  // namespace qrt::SearchOperations
