#include "platform/SystemConfiguration.h"

#include <net/if.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <optional>

#include "base/Path.h"
#include "base/Text.h"
#include "platform/KernelSettings.h"
#include "platform/PropertyLists.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/StateFolder.h"
#include "platform/linux/settings/SysctlFile.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

constexpr const char* defaultIdentifier = "preferences.plist";

/// In the names of kernel variables a dot separates components, and a slash is a dot inside one.
std::string exchangeDotsAndSlashes(std::string text) {
  for (char& c : text) {
    if (c == '.') {
      c = '/';
    } else if (c == '/') {
      c = '.';
    }
  }
  return text;
}

std::string variableFor(const std::string& interface) {
  return "net/ipv6/conf/" + interface + "/disable_ipv6";
}

/// The kernel's name of an interface, which may have other names. Empty when there is no such
/// interface.
std::optional<std::string> interfaceNamed(const std::string& name) {
  if (holdsZeroByte(name)) return std::nullopt;
  const auto index = if_nametoindex(name.c_str());
  char kernelName[IF_NAMESIZE];
  if (index == 0 || !if_indextoname(index, kernelName)) return std::nullopt;
  return kernelName;
}

/// A configuration is a property list in one folder, "preferences.plist" by default, else the file
/// that the identifier names: one component that does not begin with a dot. One lock holds for all.
///
/// The network services are the interfaces, by their names. Their IPv6 protocol follows in the
/// running kernel when changes are applied, and is written down for the next start when they are
/// committed. Values have nothing to be applied to.
class LinuxSystemConfiguration : public SystemConfiguration {
 public:
  LinuxSystemConfiguration(const std::string& folder, const std::string& root,
                           KernelSettings& kernelSettings);

  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override;

 private:
  class Session;
  class Interface;

  StateFolder files_;
  SysctlFile settingsAtStart_;
  const std::string interfacesFolder_;
  KernelSettings& kernelSettings_;
};

class LinuxSystemConfiguration::Session : public SystemConfigurationPreferences {
 public:
  Session(LinuxSystemConfiguration& owner, std::string fileName, StateFolder::Lock lock)
      : owner_(owner), fileName_(std::move(fileName)), lock_(std::move(lock)) {}

  bool lock() override { return StateFolder::waitFor(lock_) == PosixCode::success; }

  void unlock() override { lock_.reset(); }

  bool setValue(const std::string& key, const PropertyValue& value) override {
    if (!load()) return false;
    values_->insert_or_assign(key, value);
    return true;
  }

  bool removeValue(const std::string& key) override { return load() && values_->erase(key) == 1; }

  std::unique_ptr<NetworkService> networkService(const std::string& identifier) override;

  void setIPv6Enabled(const std::string& interface, bool isEnabled) {
    isIPv6Enabled_.insert_or_assign(interface, isEnabled);
  }

  bool applyChanges() override {
    return std::all_of(isIPv6Enabled_.begin(), isIPv6Enabled_.end(), [this](const auto& change) {
      const auto variable = exchangeDotsAndSlashes(variableFor(change.first));
      return owner_.kernelSettings_.write(variable, change.second ? 0 : 1) == PosixCode::success;
    });
  }

  bool commitChanges() override {
    return storeValues() &&
           std::all_of(isIPv6Enabled_.begin(), isIPv6Enabled_.end(), [this](const auto& change) {
             return owner_.settingsAtStart_.set(variableFor(change.first),
                                                change.second ? "0" : "1") == PosixCode::success;
           });
  }

 private:
  /// Reads the values before the first change. False when they cannot be read, because they must
  /// not be lost.
  bool load() {
    if (values_) return true;
    const auto bytes = owner_.files_.read(fileName_);
    if (!bytes) {
      if (bytes.error() == PosixCode::noEntry) values_.emplace();
      return values_.has_value();
    }
    const auto list = readPropertyList(*bytes);
    if (list && list->dictionary()) values_ = *list->dictionary();
    return values_.has_value();
  }

  bool storeValues() {
    if (!values_) return true;
    const auto text = writeXmlPropertyList(*values_);
    if (!text) return false;
    return owner_.files_.replace(fileName_, asBytes(*text)) == PosixCode::success;
  }

  LinuxSystemConfiguration& owner_;
  const std::string fileName_;
  StateFolder::Lock lock_;
  /// Empty until a value is changed.
  std::optional<Dictionary> values_;
  std::map<std::string, bool> isIPv6Enabled_;
};

class LinuxSystemConfiguration::Interface : public NetworkService {
 public:
  Interface(Session& session, std::string name, const std::string& folder)
      : session_(session), name_(std::move(name)), folder_(folder) {}

  bool supportsIPv6() const override {
    return access((folder_ + "/" + name_ + "/disable_ipv6").c_str(), F_OK) == 0;
  }

  bool setIPv6Enabled(bool isEnabled) override {
    session_.setIPv6Enabled(name_, isEnabled);
    return true;
  }

 private:
  Session& session_;
  const std::string name_;
  const std::string& folder_;
};

std::unique_ptr<NetworkService> LinuxSystemConfiguration::Session::networkService(
    const std::string& identifier) {
  auto name = interfaceNamed(identifier);
  if (!name) return nullptr;
  return std::make_unique<Interface>(*this, std::move(*name), owner_.interfacesFolder_);
}

LinuxSystemConfiguration::LinuxSystemConfiguration(const std::string& folder,
                                                   const std::string& root,
                                                   KernelSettings& kernelSettings)
    : files_(folder, maximumPropertyListBytes),
      settingsAtStart_(root, "60-" + std::string(helperServiceIdentifier) + ".conf"),
      interfacesFolder_(root + "/proc/sys/net/ipv6/conf"),
      kernelSettings_(kernelSettings) {}

std::unique_ptr<SystemConfigurationPreferences> LinuxSystemConfiguration::open(
    const std::string&, const std::string& identifier) {
  const auto name = identifier.empty() ? defaultIdentifier : identifier;
  const bool isFileName = path::isComponent(name) && !name.starts_with('.');
  if (!isFileName) return nullptr;
  auto lock = files_.openLock();
  if (!lock) return nullptr;
  return std::make_unique<Session>(*this, name, std::move(*lock));
}

}  // namespace

std::unique_ptr<SystemConfiguration> makeSystemConfiguration(const std::string& folder,
                                                             const std::string& root,
                                                             KernelSettings& kernelSettings) {
  return std::make_unique<LinuxSystemConfiguration>(folder, root, kernelSettings);
}

}  // namespace qrt
