// The operations that look for objects, and the one that measures them.
#pragma once

#include "base/Error.h"
#include "filesystem/SearchContext.h"
#include "protocol/FeedbackConnection.h"

namespace qrt::SearchOperations {

/// All take a folder first: an empty path is POSIX 22, nothing there POSIX 2, anything but a folder
/// POSIX 20. `feedback` may be null.

/// Arguments: folder, age in days since the last change, stay on the file system. What is to be
/// changed in the future only is of no age.
Outcome performOperationSearchAgedfilesWithArguments(const SearchContext& context,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback);

/// Arguments: folder, prefix, extension (either may be empty), whether folders are searched for or
/// other objects. Looks into that one folder; what a link leads to counts, and it must lead
/// somewhere.
Outcome performOperationSearchFilenamesWithArguments(const SearchContext& context,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback);

/// Arguments: folder, stay on the file system ("1" or "0"), then match types and patterns in turn;
/// see `AdvancedOpsAdditions::searchForFileNamesAtPath`.
Outcome performOperationSearchPatternsWithArguments(const SearchContext& context,
                                                    const Array& arguments,
                                                    FeedbackConnection* feedback);

/// Arguments: folder, stay on the file system. Reports objects whose owner is no known user. A
/// folder like that stands for everything in it if nothing there belongs to a known user, else only
/// what is in it is reported.
Outcome performOperationSearchFileorphansWithArguments(const SearchContext& context,
                                                       const Array& arguments,
                                                       FeedbackConnection* feedback);

/// Arguments: folder. Never a success: the answer is an error of code 0 with the sum of the logical
/// sizes in bytes of everything below the folder, under "Size".
Outcome performOperationInspectStoragesizeWithArguments(const SearchContext& context,
                                                        const Array& arguments,
                                                        FeedbackConnection* feedback);

}  // namespace qrt::SearchOperations
