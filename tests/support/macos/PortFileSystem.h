// The file system of the port as a class, for doubles that change a call of it.
#pragma once

#include "platform/macos/files/MacosFileSystem.h"

namespace qrt::test {

using PortFileSystem = MacosFileSystem;

}  // namespace qrt::test
