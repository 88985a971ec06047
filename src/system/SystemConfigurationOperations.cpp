#include "system/SystemConfigurationOperations.h"

#include "operations/ArgumentConverters.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/SystemConfiguration.h"
#include "system/PreferenceOperations.h"

namespace qrt {
namespace {

class ConfigurationLock {
 public:
  explicit ConfigurationLock(SystemConfigurationPreferences& configuration)
      : configuration_(configuration), isHeld_(configuration.lock()) {}
  ConfigurationLock(const ConfigurationLock&) = delete;
  ConfigurationLock& operator=(const ConfigurationLock&) = delete;
  ~ConfigurationLock() {
    if (isHeld_) configuration_.unlock();
  }

  bool isHeld() const { return isHeld_; }

 private:
  SystemConfigurationPreferences& configuration_;
  const bool isHeld_;
};

/// Changes the running system first, so that a value that it refuses is not stored.
bool applyAndCommit(SystemConfigurationPreferences& configuration) {
  return configuration.applyChanges() && configuration.commitChanges();
}

Error configurationError() {
  return privilegedOperationError(
      11, "The system configuration could not be updated successfully.",
      "The operating system was unable to change a preference setting in the system configuration. "
      "The reason is unknown.");
}

}  // namespace

Outcome performOperationModifySysconfWithArguments(const Platform& platform, const Array& arguments,
                                                   FeedbackConnection*) {
  const auto [clientName, identifier, key, text] =
      unpack<std::string, std::string, std::string, std::string>(arguments);
  if (clientName.empty() || key.empty()) return posixError(PosixCode::invalidArgument);
  const auto value = valueFromText(text);
  if (!value) return value.error();

  const auto configuration = platform.systemConfiguration.open(clientName, identifier);
  if (!configuration) return configurationError();
  const ConfigurationLock lock(*configuration);
  if (!lock.isHeld()) return posixError(PosixCode::busy);
  const bool isChanged =
      *value ? configuration->setValue(key, **value) : configuration->removeValue(key);
  if (!isChanged || !applyAndCommit(*configuration)) return configurationError();
  return success;
}

Outcome performOperationEnableIpvsixWithArguments(const Platform& platform, const Array& arguments,
                                                  FeedbackConnection*) {
  if (arguments.size() < 3) return posixError(PosixCode::invalidArgument);
  const auto [clientName, identifier, isEnabled] =
      unpack<std::string, std::string, bool>(arguments);

  const auto configuration = platform.systemConfiguration.open(clientName, {});
  if (!configuration) return preferenceSettingError();
  const ConfigurationLock lock(*configuration);
  if (!lock.isHeld()) {
    platform.log.error("Network preferences locked by other application.");
    return posixError(PosixCode::busy);
  }
  const auto service = configuration->networkService(identifier);
  if (!service) {
    platform.log.error("Network service with identifier '%{public}@' doesn't exist.", identifier);
    return preferenceSettingError();
  }
  if (!service->supportsIPv6()) {
    platform.log.error("IPv6 protocol is not supported by selected network service.");
    return preferenceSettingError();
  }
  if (!service->setIPv6Enabled(isEnabled) || !applyAndCommit(*configuration)) {
    return preferenceSettingError();
  }
  return success;
}

}  // namespace qrt
