// How much is below a folder.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qrt {

class FileSystem;

struct ObjectCount {
  std::uint64_t objects = 0;
  /// Of regular files.
  std::uint64_t bytes = 0;
  /// False when the time was not enough or this process may not see everything.
  bool isComplete = true;
};

/// Counts what is below the folder, without the folder itself, until the deadline. Follows no link
/// and enters every file system.
ObjectCount countObjects(FileSystem& files, const std::string& folder,
                         std::chrono::steady_clock::time_point deadline);

}  // namespace qrt
