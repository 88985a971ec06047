// The configuration of the system, its network services among it.
#pragma once

#include <memory>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// A network service of an open configuration, which outlives it.
class NetworkService {
 public:
  virtual ~NetworkService() = default;

  virtual bool supportsIPv6() const = 0;
  /// Changes the configuration; takes effect with `applyChanges`.
  virtual bool setIPv6Enabled(bool isEnabled) = 0;
};

/// An open configuration, for one thread. Each step returns false or null when it fails, without a
/// reason. Changes are made under the lock, which is taken once.
class SystemConfigurationPreferences {
 public:
  virtual ~SystemConfigurationPreferences() = default;

  /// Waits, without a limit, until no other program holds the lock.
  virtual bool lock() = 0;
  virtual void unlock() = 0;

  virtual bool setValue(const std::string& key, const PropertyValue& value) = 0;
  /// False as well when there is no such key.
  virtual bool removeValue(const std::string& key) = 0;

  /// Null when there is no such service.
  virtual std::unique_ptr<NetworkService> networkService(const std::string& identifier) = 0;

  /// Makes the running system follow the changes.
  virtual bool applyChanges() = 0;
  /// Keeps the changes.
  virtual bool commitChanges() = 0;
};

/// Thread-safe.
class SystemConfiguration {
 public:
  virtual ~SystemConfiguration() = default;

  /// Opens the configuration with that identifier, the default one when it is empty, on behalf of a
  /// client that is named for the system's own records. Null when it cannot be opened.
  virtual std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                               const std::string& identifier) = 0;
};

}  // namespace qrt
