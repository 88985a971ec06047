// Queries about files of untrusted software.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt {

class FileSystem;
struct Platform;

/// Links are followed. A file that cannot be examined counts as missing. FIFOs and devices are
/// never opened, so no query waits. Stateless; the platform outlives it.
class FileQueries {
 public:
  explicit FileQueries(const Platform& platform);

  bool exists(const std::string& path) const;

  /// Exists and is not a folder.
  bool isFile(const std::string& path) const;

  /// The names in a folder, unsorted; empty if it cannot be listed.
  std::vector<std::string> namesIn(const std::string& folder) const;

  /// The dictionary in a property-list file; nothing if it holds something else or is too large.
  std::optional<Dictionary> dictionaryAt(const std::string& path) const;

 private:
  FileSystem& files_;
};

}  // namespace qrt
