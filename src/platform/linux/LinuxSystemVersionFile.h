// The version file on Linux.
#pragma once

#include <string>

#include "platform/SystemVersionFile.h"

namespace qrt {

/// Linux has no such file of its own; one that is there is read all the same.
class LinuxSystemVersionFile : public SystemVersionFile {
 public:
  explicit LinuxSystemVersionFile(const std::string& root)
      : path_(root + "/System/Library/CoreServices/SystemVersion.plist") {}

  std::optional<Data> read() override;

 private:
  const std::string path_;
};

}  // namespace qrt
