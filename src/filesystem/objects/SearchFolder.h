// Where a search begins.
#pragma once

#include <string>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace qrt {

/// The path of a folder without links, with which its objects are told. An empty path is POSIX 22,
/// nothing there POSIX 2, anything but a folder POSIX 20.
Result<std::string> resolvedSearchFolder(FileSystem& files, const std::string& path);

}  // namespace qrt
