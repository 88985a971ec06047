// A storage device that is a file.
#pragma once

#include "support/ScratchFolder.h"

namespace qrt::test {

/// A loop device on a file, given back when it goes. `isThere()` is false without the right to make
/// one.
class LoopDevice {
 public:
  LoopDevice(const std::string& file, int sectorSize) {
    // Another program may be faster to take the one that was found.
    for (int attempt = 0; attempt < 10 && path_.empty(); ++attempt) {
      path_ = printed("losetup --show --find --sector-size " + std::to_string(sectorSize) + " " +
                      file + " 2>/dev/null");
    }
    path_.resize(path_.find('\n') == path_.npos ? 0 : path_.size() - 1);
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
