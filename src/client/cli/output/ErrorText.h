// An error as lines for the user.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// User information of an error that several paths share: an array of dictionaries.
inline constexpr std::string_view failedPathsKey = "FailedPaths";
/// Keys of such a dictionary: the path as it was sent and as the user wrote it, and its error.
inline constexpr std::string_view failedPathKey = "Path";
inline constexpr std::string_view failedWordKey = "Word";
inline constexpr std::string_view failedErrorKey = "Error";

/// "nope (No such file or directory)".
std::string failedPathText(const Dictionary& failure);

/// Description, suggestion, paths that failed, paths and causes. A path that the texts contain is
/// left out. `error` is
/// already localized. Every line ends with a line feed.
std::string errorText(const Error& error);

}  // namespace qrt
