// The configuration of the system, with its network services.
#pragma once

#include <memory>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// A network service. The open configuration that it belongs to outlives it.
class NetworkService {
 public:
  virtual ~NetworkService() = default;

  virtual bool supportsIPv6() const = 0;
  /// Changes the configuration; takes effect with `applyChanges`.
  virtual bool setIPv6Enabled(bool isEnabled) = 0;
};

/// An open configuration. Not thread-safe. Each call returns false or null when it fails; the
/// reason is not known. Call `lock` once, before the first change.
class SystemConfigurationPreferences {
 public:
  virtual ~SystemConfigurationPreferences() = default;

  /// Waits, without a limit, until no other program holds the lock.
  virtual bool lock() = 0;
  virtual void unlock() = 0;

  virtual bool setValue(const std::string& key, const PropertyValue& value) = 0;
  /// Also false when there is no such key.
  virtual bool removeValue(const std::string& key) = 0;

  /// Null when there is no such service.
  virtual std::unique_ptr<NetworkService> networkService(const std::string& identifier) = 0;

  /// Applies the changes to the running system.
  virtual bool applyChanges() = 0;
  /// Stores the changes for later starts of the system.
  virtual bool commitChanges() = 0;
};

/// Thread-safe.
class SystemConfiguration {
 public:
  virtual ~SystemConfiguration() = default;

  /// Opens the configuration with that identifier; an empty one means the default. `clientName` is
  /// for the system's records. Null when it cannot be opened.
  virtual std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                               const std::string& identifier) = 0;
};

}  // namespace qrt
