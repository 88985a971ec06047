// Which folders a walk of a hierarchy goes into.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace qrt {

/// Thread-safe once it is set up.
class WalkScope {
 public:
  /// `files` outlives the scope. `basePath` is where the walk begins.
  WalkScope(FileSystem& files, std::string basePath);

  /// Leaves out what is on another file system than the object itself; nothing if it cannot be
  /// looked at.
  void stayOnFileSystemOf(FileAt base);
  bool isOneFileSystem() const { return device_.has_value(); }

  /// `type` is the object's, or 0 where that is not known; `relativePath` is from the base.
  bool includesContentsOf(FileAt object, std::uint32_t type, std::string_view relativePath) const;

 private:
  bool isInVolumeNamespace(std::string_view relativePath) const;

  FileSystem& files_;
  std::string basePath_;
  std::optional<std::uint64_t> device_;
};

}  // namespace qrt
