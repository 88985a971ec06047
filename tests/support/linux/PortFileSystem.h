// The file system of the port as a class, for doubles that change a call of it.
#pragma once

#include "platform/linux/files/LinuxFileSystem.h"

namespace qrt::test {

using PortFileSystem = LinuxFileSystem;

}  // namespace qrt::test
