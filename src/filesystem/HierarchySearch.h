// Looking at everything below a folder, in walking order.
#pragma once

#include <functional>
#include <string>

#include "base/Error.h"
#include "filesystem/FoundObjects.h"
#include "filesystem/QRTDirectoryEnumerator.h"
#include "filesystem/SearchContext.h"

namespace qrt {

/// Whether the object that the walk has come to is to be reported. It may have the walk skip what
/// is in the object. An error ends the search.
using Judgement =
    std::function<PosixResult<bool>(QRTDirectoryEnumerator& walk, const FileStatus& status)>;

/// Sends the records of the objects that the judgement is for. Objects that cannot be looked at are
/// passed over. Errors are those of the folder, of the judgement, and that descriptors or memory
/// ran out; the last two are told after what was found.
Outcome searchHierarchy(const SearchContext& context, const std::string& folder,
                        bool stayOnFileSystem, FeedbackConnection* feedback,
                        const Judgement& isWanted);

}  // namespace qrt
