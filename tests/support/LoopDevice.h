// A storage device that is a file.
#pragma once

#include <cstdio>
#include <string>

#include "support/ScratchFolder.h"

namespace qrt::test {

/// A loop device on a file, given back when it goes. `isThere()` is false without the right to make
/// one.
class LoopDevice {
 public:
  LoopDevice(const std::string& file, int sectorSize) {
    const auto command = "losetup --show --find --sector-size " + std::to_string(sectorSize) + " " +
                         file + " 2>/dev/null";
    // Another program may be faster to take the one that was found.
    for (int attempt = 0; attempt < 10 && path_.empty(); ++attempt) {
      FILE* output = popen(command.c_str(), "r");
      char line[64] = {};
      if (output && std::fgets(line, sizeof line, output)) path_.assign(line);
      if (output) pclose(output);
    }
    while (!path_.empty() && path_.back() == '\n') path_.pop_back();
  }
  LoopDevice(const LoopDevice&) = delete;
  LoopDevice& operator=(const LoopDevice&) = delete;
  ~LoopDevice() {
    if (isThere()) run({"losetup", "--detach", path_});
  }

  bool isThere() const { return !path_.empty(); }

  /// Its name below "/dev".
  std::string name() const { return path_.substr(sizeof "/dev/" - 1); }

 private:
  std::string path_;
};

}  // namespace qrt::test
