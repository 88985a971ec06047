// Hierarchies whose paths may be too long for the system.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "platform/FileDescriptor.h"

namespace qrt::test {

/// Makes a folder of that name below `top`, one in it, and so on; `inEach` gets the folder that
/// each is made in. Returns the last one.
template <class Action = void (*)(int)>
FileDescriptor makeChain(
    const std::string& top, const std::string& name, int levels, Action inEach = [](int) {}) {
  FileDescriptor folder(open(top.c_str(), O_RDONLY | O_DIRECTORY));
  for (int level = 0; level < levels; ++level) {
    inEach(folder.get());
    EXPECT_EQ(mkdirat(folder.get(), name.c_str(), 0755), 0);
    folder = FileDescriptor(openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
  }
  return folder;
}

}  // namespace qrt::test
