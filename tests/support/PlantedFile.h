// Files of a system below a folder that replaces its root.
#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include "support/ScratchFolder.h"

namespace qrt::test {

/// Makes a file and the folders above it. Returns its full path.
inline std::string plant(const ScratchFolder& root, const std::string& name,
                         std::string_view contents = {}) {
  const auto slash = name.rfind('/');
  if (slash != std::string::npos) {
    EXPECT_TRUE(run({"mkdir", "-p", root.path(name.substr(0, slash))}));
  }
  return root.file(name, contents);
}

inline std::string contentsOf(const std::string& path) {
  std::ostringstream contents;
  contents << std::ifstream(path, std::ios::binary).rdbuf();
  return contents.str();
}

}  // namespace qrt::test
