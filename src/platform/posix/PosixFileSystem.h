// The part of the file system that both ports share.
#pragma once

#include <cstdint>
#include <string>

#include "platform/FileSystem.h"

namespace qrt {

class PosixFileSystem : public FileSystem {
 public:
  PosixResult<Folder> openFolder(FileAt object, Links links) override;
  PosixResult<Folder> openFolder(const HeldObject& folder) override;
  PosixResult<Location> locate(const std::string& path) override;
  PosixResult<std::string> linkTarget(FileAt link) override;
  using FileSystem::linkTarget;
  PosixResult<std::string> resolvedPath(const std::string& path) override;
  PosixResult<OpenFile> createFile(FileAt object, std::uint32_t permissions) override;
  PosixResult<Folder> createFolder(FileAt object, std::uint32_t permissions) override;
  PosixCode createLink(FileAt object, const std::string& target) override;
  PosixCode createHardLink(FileAt object, FileAt existing) override;
  PosixCode replace(FileAt object, FileAt replaced) override;
  PosixCode removeFolder(FileAt object) override;
  PosixCode removeFile(FileAt object) override;
};

}  // namespace qrt
