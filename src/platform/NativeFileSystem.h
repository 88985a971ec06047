// The file system of the port, for programs that need no other facility.
#pragma once

#include <memory>

#include "platform/FileSystem.h"

namespace qrt {

std::unique_ptr<FileSystem> makeNativeFileSystem();

}  // namespace qrt
