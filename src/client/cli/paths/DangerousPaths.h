// Paths and devices that a user rarely wants to delete.
#pragma once

#include <optional>

#include "client/cli/commandline/ArgumentReader.h"

namespace qrt {

/// An error when the operation would delete or empty the root folder, the caller's home or a mount
/// point, or erase a mounted device, and the option that names this danger is not among the words.
std::optional<UsageError> dangerousPath(const OperationArguments& operation,
                                        const GivenWords& words, const WordContext& context);

}  // namespace qrt
