// The system's knowledge of installed software.
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

  /// The places of all installed applications with that bundle identifier; empty without one.
  virtual std::vector<ApplicationURL> applicationURLs(const std::string& bundleIdentifier) = 0;

  /// When a user last opened a file or bundle; no value when the system has no record.
  virtual std::optional<Date> dateLastUsed(const std::string& path) = 0;

  /// Null when the path is not a bundle, and on ports without such objects.
  virtual std::shared_ptr<const SystemBundle> systemBundle(const std::string& path) = 0;
};

}  // namespace qrt
