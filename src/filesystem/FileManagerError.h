// The file manager's own errors.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// Errors of the Cocoa domain that carry the path they are about and the POSIX error that caused
/// them.
Error fileReadError(PosixCode cause, const std::string& path);
Error fileWriteError(PosixCode cause, const std::string& path);

}  // namespace qrt
