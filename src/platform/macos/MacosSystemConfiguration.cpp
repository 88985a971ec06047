#include "platform/SystemConfiguration.h"

#include <SystemConfiguration/SystemConfiguration.h>

#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

class Service final : public NetworkService {
 public:
  explicit Service(SCNetworkServiceRef service)
      : ipv6_(SCNetworkServiceCopyProtocol(service, kSCNetworkProtocolTypeIPv6)) {}

  bool supportsIPv6() const override { return static_cast<bool>(ipv6_); }

  bool setIPv6Enabled(bool isEnabled) override {
    return ipv6_ && SCNetworkProtocolSetEnabled(ipv6_.get(), isEnabled);
  }

 private:
  /// None for a service without that protocol.
  const CFOwner<SCNetworkProtocolRef> ipv6_;
};

class Session final : public SystemConfigurationPreferences {
 public:
  explicit Session(CFOwner<SCPreferencesRef> preferences) : preferences_(std::move(preferences)) {}

  bool lock() override {
    constexpr bool wait = true;
    return SCPreferencesLock(preferences_.get(), wait);
  }

  void unlock() override { SCPreferencesUnlock(preferences_.get()); }

  bool setValue(const std::string& key, const PropertyValue& value) override {
    const auto name = cfString(key);
    const auto object = cfValue(value);
    return name && object && SCPreferencesSetValue(preferences_.get(), name.get(), object.get());
  }

  bool removeValue(const std::string& key) override {
    const auto name = cfString(key);
    return name && SCPreferencesRemoveValue(preferences_.get(), name.get());
  }

  std::unique_ptr<NetworkService> networkService(const std::string& identifier) override {
    const auto name = cfString(identifier);
    if (!name) return nullptr;
    const CFOwner<SCNetworkServiceRef> service(
        SCNetworkServiceCopy(preferences_.get(), name.get()));
    return service ? std::make_unique<Service>(service.get()) : nullptr;
  }

  bool applyChanges() override { return SCPreferencesApplyChanges(preferences_.get()); }
  bool commitChanges() override { return SCPreferencesCommitChanges(preferences_.get()); }

 private:
  const CFOwner<SCPreferencesRef> preferences_;
};

/// The configuration that the system keeps itself.
class MacosSystemConfiguration final : public SystemConfiguration {
 public:
  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override {
    const auto client = cfString(clientName);
    const auto file = cfString(identifier);
    if (!client || !file) return nullptr;
    CFOwner<SCPreferencesRef> preferences(
        SCPreferencesCreate(nullptr, client.get(), identifier.empty() ? nullptr : file.get()));
    return preferences ? std::make_unique<Session>(std::move(preferences)) : nullptr;
  }
};

}  // namespace

std::unique_ptr<SystemConfiguration> makeSystemConfiguration() {
  return std::make_unique<MacosSystemConfiguration>();
}

}  // namespace qrt
