#include "operations/NSProcessInfoQRTAdditions.h"

#include <charconv>
#include <limits>
#include <memory>
#include <mutex>
#include <string_view>

#include "platform/Platform.h"
#include "platform/ProcessTable.h"
#include "platform/PropertyLists.h"
#include "platform/SystemVersionFile.h"

namespace qrt::NSProcessInfoQRTAdditions {
namespace {

/// What is known about the running operating system. The initial values are those of a system
/// without a version file.
struct QRTOSVersionInfoCache {
  bool shouldUIUsePoliteForms = true;
  std::string osName;
  std::string osMarketingName;
  std::string osVersion;
  std::string osBuild;
  /// Hexadecimal digits: two of the major version, one each of minor version and patch. 10.9.5 is
  /// 0x1095. A minor version or patch above 15 carries.
  std::int64_t osVersionCode = 0x1000;
};

using VersionInfo = std::shared_ptr<const QRTOSVersionInfoCache>;

constexpr std::int64_t firstOSX = 0x1080;
constexpr std::int64_t firstMacOS = 0x10C0;

/// Removes an integer from the front of `text`; returns `otherwise` if the text does not begin with
/// one. A number that is too large saturates.
std::int64_t takeInteger(std::string_view& text, std::int64_t otherwise) {
  std::int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::invalid_argument) return otherwise;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc::result_out_of_range ? std::numeric_limits<std::int32_t>::max() : value;
}

void takeDot(std::string_view& text) {
  if (text.starts_with('.')) text.remove_prefix(1);
}

std::int64_t versionCode(std::string_view version) {
  const auto major = takeInteger(version, 10);
  takeDot(version);
  const auto minor = takeInteger(version, 0);
  takeDot(version);
  const auto patch = takeInteger(version, 0);
  return major / 10 * 0x1000 + major % 10 * 0x100 + minor * 0x10 + patch;
}

const char* marketingName(std::int64_t code) {
  if (code < firstOSX) return "Mac OS X";
  return code < firstMacOS ? "OS X" : "macOS";
}

std::string text(const Dictionary& dictionary, std::string_view key) {
  const auto* string = stringIn(dictionary, key);
  return string ? *string : std::string();
}

QRTOSVersionInfoCache readVersionInfo(const Platform& platform) {
  QRTOSVersionInfoCache info;
  const auto bytes = readSystemVersionFile(platform.root);
  if (!bytes) return info;
  const auto list = readPropertyList(*bytes);
  const auto* facts = list ? list->dictionary() : nullptr;
  if (!facts || facts->empty()) return info;

  info.osName = text(*facts, "ProductName");
  info.osVersion = text(*facts, "ProductVersion");
  info.osBuild = text(*facts, "ProductBuildVersion");
  if (!info.osVersion.empty()) info.osVersionCode = versionCode(info.osVersion);
  info.osMarketingName = marketingName(info.osVersionCode);
  info.shouldUIUsePoliteForms = info.osVersionCode < firstMacOS;
  return info;
}

/// The process-wide cache. A snapshot stays valid after another has replaced it.
class Cache {
 public:
  VersionInfo get() {
    const std::lock_guard lock(mutex_);
    return info_;
  }
  VersionInfo set(VersionInfo info) {
    const std::lock_guard lock(mutex_);
    return info_ = std::move(info);
  }

 private:
  std::mutex mutex_;
  VersionInfo info_;
};

Cache& cache() {
  static Cache& shared = *new Cache;  // Threads may use it until the process ends.
  return shared;
}

VersionInfo freshVersionInfo(const Platform& platform) {
  return cache().set(std::make_shared<const QRTOSVersionInfoCache>(readVersionInfo(platform)));
}

/// Two first callers may both read the file, with equal results.
VersionInfo versionInfo(const Platform& platform) {
  auto info = cache().get();
  return info ? info : freshVersionInfo(platform);
}

}  // namespace

void updateVersionInfo(const Platform& platform) { freshVersionInfo(platform); }

std::int64_t operatingSystemVersionCode(const Platform& platform) {
  return versionInfo(platform)->osVersionCode;
}

std::string operatingSystemProductName(const Platform& platform) {
  return versionInfo(platform)->osName;
}

std::string operatingSystemMarketingName(const Platform& platform) {
  return versionInfo(platform)->osMarketingName;
}

std::string operatingSystemVersionNumberString(const Platform& platform) {
  return versionInfo(platform)->osVersion;
}

std::string operatingSystemBuildCode(const Platform& platform) {
  return versionInfo(platform)->osBuild;
}

bool shouldUIUsePoliteForms(const Platform& platform) {
  return versionInfo(platform)->shouldUIUsePoliteForms;
}

std::optional<std::vector<std::int32_t>> identifiersForRunningProcessesNamed(
    const Platform& platform, const std::string& name) {
  if (name.empty()) return std::nullopt;
  const auto processes = platform.processes.processes();
  if (!processes) return std::nullopt;

  const auto kept = platform.processes.keptNameLength();
  const auto wanted = std::string_view(name).substr(0, kept);
  std::vector<std::int32_t> identifiers;
  for (const auto& process : *processes) {
    const bool isMatch = std::string_view(process.name).substr(0, kept) == wanted;
    if (isMatch && process.identifier > 0) identifiers.push_back(process.identifier);
  }
  return identifiers;
}

bool isProcessRunningWithName(const Platform& platform, const std::string& name) {
  const auto identifiers = identifiersForRunningProcessesNamed(platform, name);
  return identifiers && !identifiers->empty();
}

std::optional<std::string> processNameForProcessID(const Platform& platform,
                                                   std::int32_t identifier,
                                                   std::uint32_t* getEffectiveUserID) {
  const auto processes = platform.processes.processes();
  if (!processes) return std::nullopt;
  for (const auto& process : *processes) {
    if (process.identifier != identifier) continue;
    if (getEffectiveUserID) *getEffectiveUserID = process.effectiveUserID;
    return process.name;
  }
  return std::nullopt;
}

}  // namespace qrt::NSProcessInfoQRTAdditions
