// Searching everything below a folder.
#pragma once

#include <functional>
#include <string>

#include "base/Error.h"
#include "filesystem/FoundObjects.h"
#include "filesystem/SearchContext.h"
#include "filesystem/walk/QRTDirectoryEnumerator.h"

namespace qrt {

/// Goes through the whole walk and adds what is to be reported. An error is told after that.
using SearchWalk = std::function<PosixCode(QRTDirectoryEnumerator& walk, FoundObjects& found)>;

/// Begins and ends a search. Errors are those of the folder and of the walk, and that descriptors
/// or memory ran out.
Outcome searchHierarchy(const SearchContext& context, const std::string& folder,
                        bool stayOnFileSystem, FeedbackConnection* feedback,
                        const SearchWalk& search);

}  // namespace qrt
