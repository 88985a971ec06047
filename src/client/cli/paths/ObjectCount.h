// How much is below a folder.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/Folder.h"

namespace qrt {

class FileSystem;
struct FileStatus;

struct ObjectCount {
  std::uint64_t objects = 0;
  /// Of regular files.
  std::uint64_t bytes = 0;
  /// False when the time was not enough or this process may not see everything.
  bool isComplete = true;
};

/// Looks at an object that is counted. `folder` is the path of the folder that holds it.
using CountVisitor =
    std::function<void(FileAt object, const FileStatus& status, const std::string& folder)>;

/// Counts what is below the folder, without the folder itself, until the deadline. Follows no link
/// and enters every file system.
ObjectCount countObjects(FileSystem& files, const std::string& folder,
                         std::chrono::steady_clock::time_point deadline,
                         const CountVisitor& visitor = {});

}  // namespace qrt
