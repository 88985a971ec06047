// The version file of the home platform.
#pragma once

#include <string>

#include "platform/SystemVersionFile.h"

namespace qrt {

/// Another system has no such file of its own; one that is there is read all the same.
class PosixSystemVersionFile : public SystemVersionFile {
 public:
  explicit PosixSystemVersionFile(const std::string& root)
      : path_(root + "/System/Library/CoreServices/SystemVersion.plist") {}

  std::optional<Data> read() override;

 private:
  const std::string path_;
};

}  // namespace qrt
