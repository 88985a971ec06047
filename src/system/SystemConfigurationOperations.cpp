#include "system/SystemConfigurationOperations.h"

#include "operations/PrivilegedOperationError.h"
#include "operations/PropertyListArgument.h"
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

/// The running system follows first; what it does not accept is not kept.
bool applyAndCommit(SystemConfigurationPreferences& configuration) {
  return configuration.applyChanges() && configuration.commitChanges();
}

Error configurationError() {
  return privilegedOperationError(
      11, "The system configuration could not be updated successfully.",
      "The operating system was unable to change a preference setting in the system configuration. "
      "The reason is unknown.");
}

Outcome performOperationModifySysconfWithArguments(const Array& arguments,
                                                   SystemConfiguration& systemConfiguration,
                                                   PropertyLists& propertyLists) {
  const auto& clientName = *arguments[0].string();
  const auto& identifier = *arguments[1].string();
  const auto& key = *arguments[2].string();
  if (clientName.empty() || key.empty()) return posixError(PosixCode::invalidArgument);
  const auto value = valueFromText(propertyLists, *arguments[3].string());
  if (!value) return value.error();

  const auto configuration = systemConfiguration.open(clientName, identifier);
  if (!configuration) return configurationError();
  const ConfigurationLock lock(*configuration);
  if (!lock.isHeld()) return posixError(PosixCode::busy);
  const bool isChanged =
      *value ? configuration->setValue(key, **value) : configuration->removeValue(key);
  if (!isChanged || !applyAndCommit(*configuration)) return configurationError();
  return success;
}

Outcome performOperationEnableIpvsixWithArguments(const Array& arguments,
                                                  SystemConfiguration& systemConfiguration,
                                                  Log& log) {
  if (arguments.size() < 3) return posixError(PosixCode::invalidArgument);
  const auto& clientName = *arguments[0].string();
  const auto& identifier = *arguments[1].string();
  const bool isEnabled = arguments[2].number()->asBool();

  const auto configuration = systemConfiguration.open(clientName, {});
  if (!configuration) return preferenceSettingError();
  const ConfigurationLock lock(*configuration);
  if (!lock.isHeld()) {
    log.error("Network preferences locked by other application.");
    return posixError(PosixCode::busy);
  }
  const auto service = configuration->networkService(identifier);
  if (!service) {
    log.error("Network service with identifier '%{public}@' doesn't exist.", identifier);
    return preferenceSettingError();
  }
  if (!service->supportsIPv6()) {
    log.error("IPv6 protocol is not supported by selected network service.");
    return preferenceSettingError();
  }
  if (!service->setIPv6Enabled(isEnabled) || !applyAndCommit(*configuration)) {
    return preferenceSettingError();
  }
  return success;
}

}  // namespace

void registerSystemConfigurationHandlers(HandlerTable& handlers) {
  handlers.add("performOperationModifySysconfWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationModifySysconfWithArguments(
                     arguments, platform.systemConfiguration, platform.propertyLists);
               });
  handlers.add("performOperationEnableIpvsixWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationEnableIpvsixWithArguments(
                     arguments, platform.systemConfiguration, platform.log);
               });
}

}  // namespace qrt
