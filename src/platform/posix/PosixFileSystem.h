// What the file systems of both ports have in common.
#pragma once

#include <string>

#include "platform/FileSystem.h"

namespace qrt {

class PosixFileSystem : public FileSystem {
 public:
  PosixResult<Folder> openFolder(FileAt object, Links links) override;
  PosixResult<Location> locate(const std::string& path) override;
  PosixResult<std::string> resolvedPath(const std::string& path) override;
  PosixCode removeFolder(FileAt object) override;
  PosixCode removeFile(FileAt object) override;
};

}  // namespace qrt
