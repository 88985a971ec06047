// What the system knows about the software on its disks.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt {

struct ApplicationURL {
  std::string scheme;
  std::string path;
};

/// The port's own object for a bundle.
class SystemBundle {
 public:
  virtual ~SystemBundle() = default;
};

/// Thread-safe.
class ApplicationRegistry {
 public:
  virtual ~ApplicationRegistry() = default;

  /// Where applications with that bundle identifier are installed.
  virtual std::vector<ApplicationURL> applicationURLs(const std::string& bundleIdentifier) = 0;

  /// When a file or bundle was last used by a person.
  virtual std::optional<Date> dateLastUsed(const std::string& path) = 0;

  /// Null where the port has no such objects, or none for that path.
  virtual std::shared_ptr<const SystemBundle> systemBundle(const std::string& path) = 0;
};

}  // namespace qrt
