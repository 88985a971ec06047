// The file manager's own errors.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// Errors of the Cocoa domain that carry the path they are about and the POSIX error that caused
/// them, and those of moves and links also where the object was to go.
Error fileReadError(PosixCode cause, const std::string& path);
Error fileWriteError(PosixCode cause, const std::string& path);
Error fileWriteError(PosixCode cause, const std::string& path, const std::string& destination);

}  // namespace qrt
