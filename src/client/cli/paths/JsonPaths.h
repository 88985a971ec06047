// Paths as JSON output writes them.
#pragma once

#include <optional>

#include "client/cli/commandline/ArgumentReader.h"

namespace qrt {

class FileSystem;

/// Changes the words that are paths into the bytes of the paths.
void decodeJsonPaths(const OperationArguments& operation, GivenWords& words);

/// An error when a word names no object as it is, but names one when it is read as JSON output
/// writes it. The user has to say which is meant: a file can have either name.
std::optional<UsageError> doubtfulPath(const OperationArguments& operation, const GivenWords& words,
                                       FileSystem& files);

}  // namespace qrt
