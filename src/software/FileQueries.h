// Questions about files of software that nobody vouches for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt {

class FileSystem;
struct Platform;

/// Links are followed. What cannot be examined is not there, and nothing is waited for: FIFOs and
/// devices are never opened. Stateless; the platform outlives it.
class FileQueries {
 public:
  explicit FileQueries(const Platform& platform);

  bool exists(const std::string& path) const;

  /// Exists and is not a folder.
  bool isFile(const std::string& path) const;

  /// The names in a folder in its own order; none when it cannot be listed.
  std::vector<std::string> namesIn(const std::string& folder) const;

  /// The dictionary that a property-list file holds; none when it is not that or too large.
  std::optional<Dictionary> dictionaryAt(const std::string& path) const;

 private:
  FileSystem& files_;
};

}  // namespace qrt
