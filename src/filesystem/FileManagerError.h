// The file manager's own errors.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"

namespace qrt {

/// Where an object was to go, in the errors of moves and links.
inline constexpr std::string_view destinationFilePathErrorKey = "NSDestinationFilePath";

/// Errors of the Cocoa domain that carry the path they are about and the POSIX error that caused
/// them.
Error fileReadError(PosixCode cause, const std::string& path);
Error fileWriteError(PosixCode cause, const std::string& path);
Error fileWriteError(PosixCode cause, const std::string& path, const std::string& destination);

}  // namespace qrt
