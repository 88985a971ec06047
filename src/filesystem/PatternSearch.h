// Searching a hierarchy for names.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"
#include "filesystem/FoundObjects.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt::AdvancedOpsAdditions {

/// Reports each object below the folder whose name matches one of the patterns, in walking order
/// and with the progress of the search. The pairs are a match type ("0" whole name, "1" beginning,
/// "2" extension) and a pattern, in turn. None, half a pair, an unknown type or an empty pattern
/// are POSIX 22; the last two, and the POSIX 2 of a folder with nothing in it, are found out after
/// the first progress was told.
Outcome searchForFileNamesAtPath(FileSystem& files, Log& log, const std::string& path,
                                 bool stayOnFileSystem,
                                 const std::vector<std::string>& matchTypePatternPairs,
                                 const FeedbackBlock& feedbackBlock);

}  // namespace qrt::AdvancedOpsAdditions
