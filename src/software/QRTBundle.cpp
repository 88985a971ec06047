#include "software/QRTBundle.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <locale>
#include <sstream>

#include "base/CaseInsensitive.h"
#include "base/Path.h"
#include "platform/ApplicationRegistry.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

constexpr std::string_view localizationExtension = "lproj";

std::optional<std::string> copyOf(const std::string* text) {
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::string> versionIn(const Dictionary& info) {
  const auto* shown = stringIn(info, info_key::shortVersion);
  const auto* build = stringIn(info, info_key::version);
  if (shown && build && *shown != *build) return *shown + " (" + *build + ")";
  return copyOf(shown);
}

/// Only widgets and assets have their information at the top.
bool mayBeAtTop(const Dictionary& info) {
  return info.contains("MainHTML") || info.contains("MobileAssetProperties");
}

/// A date as "2021-03-04 05:06:07 +0000".
std::string described(const std::optional<Date>& date) {
  if (!date) return "(null)";
  using namespace std::chrono;
  // Years outside the calendar's range are shown as its ends.
  constexpr sys_seconds earliest = sys_days(year::min() / January / 1);
  constexpr sys_seconds latest = sys_days(year::max() / December / 31);
  const sys_seconds moment(seconds(Number(date->secondsSince1970).asInt64()));
  const auto shown = std::clamp(moment, earliest, latest);
  const auto midnight = floor<days>(shown);
  const year_month_day day(midnight);
  const hh_mm_ss time(shown - midnight);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d +0000",
                static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                static_cast<unsigned>(day.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return text;
}

/// The version text of an installed application.
std::string installedVersion(const Dictionary& info, const std::string& identifier) {
  // This application has its version in the text for users.
  const bool saysItInWords = identifier == "com.apple.Safari";
  const auto* text = stringIn(info, saysItInWords ? info_key::infoText : info_key::shortVersion);
  if (!text || text->empty()) text = stringIn(info, info_key::version);
  return text ? *text : std::string();
}

}  // namespace

std::optional<QRTBundle> QRTBundle::initWithPath(const std::string& path,
                                                 const Platform& platform) {
  const auto style = packageStyleOf(path, FileQueries(platform));
  if (!style) return std::nullopt;
  QRTBundle bundle(path, *style, platform);
  const auto info = bundle.infoDictionary().value_or(Dictionary());
  if (*style == PackageStyle::top && !mayBeAtTop(info)) return std::nullopt;

  bundle.softwareType_ = softwareTypeOf(path, *style, info, bundle.files_);
  const bool isScreenSaverFile = bundle.softwareType_ == SoftwareType::screenSaver &&
                                 *style == PackageStyle::quartzComposition;
  bundle.versionString_ = isScreenSaverFile ? "" : versionIn(info);
  bundle.bundleIdentifier_ = isScreenSaverFile ? "" : copyOf(stringIn(info, info_key::identifier));
  bundle.dateLastUsed_ = platform.applications.dateLastUsed(path);
  return bundle;
}

QRTBundle::QRTBundle(const std::string& path, PackageStyle style, const Platform& platform)
    : platform_(&platform), files_(platform), bundlePath_(path), packageStyle_(style) {}

std::optional<std::string> QRTBundle::infoPathForBundlePath(const std::string& bundlePath,
                                                            PackageStyle packageStyle) {
  return infoPath(bundlePath, packageStyle);
}

double QRTBundle::versionNumberFromString(const std::string& string) {
  std::string_view text = string;
  constexpr std::string_view numerals = "0123456789.";
  text.remove_prefix(std::min(text.find_first_of(numerals), text.size()));
  std::string digits(text.substr(0, text.find_first_not_of(numerals)));
  const auto decimalDot = digits.find('.');
  if (decimalDot != std::string::npos) {
    digits.erase(std::remove(digits.begin() + static_cast<std::ptrdiff_t>(decimalDot) + 1,
                             digits.end(), '.'),
                 digits.end());
  }
  std::istringstream stream(digits);
  stream.imbue(std::locale::classic());
  double number = 0;
  stream >> number;
  return number;
}

float QRTBundle::versionNumberForApplicationWithIdentifier(const std::string& identifier,
                                                           const Platform& platform) {
  if (identifier.empty()) return 0;
  float highest = 0;
  for (const auto& url : platform.applications.applicationURLs(identifier)) {
    if (url.scheme != "file") continue;
    const auto bundle = initWithPath(url.path, platform);
    if (!bundle || bundle->softwareType() != SoftwareType::application) continue;
    const auto info = bundle->infoDictionary().value_or(Dictionary());
    highest = std::max(
        highest, static_cast<float>(versionNumberFromString(installedVersion(info, identifier))));
  }
  return highest;
}

bool QRTBundle::isQuartzCompositionUsableAsScreenSaverWithContents(const Dictionary& contents) {
  return isScreenSaverComposition(contents);
}

std::string QRTBundle::contentsPath() const {
  const bool hasContents =
      packageStyle_ == PackageStyle::contents || packageStyle_ == PackageStyle::contentsForMacOS;
  return hasContents ? path::appending(bundlePath_, "Contents") : bundlePath_;
}

std::string QRTBundle::resourcesPath() const {
  return packageStyle_ == PackageStyle::top ? bundlePath_
                                            : path::appending(contentsPath(), "Resources");
}

std::optional<std::string> QRTBundle::infoDictionaryPath() const {
  auto path = infoPath(bundlePath_, packageStyle_);
  return path && files_.isFile(*path) ? std::move(path) : std::nullopt;
}

std::optional<Dictionary> QRTBundle::infoDictionary() const {
  const auto path = infoDictionaryPath();
  return path ? files_.dictionaryAt(*path) : std::nullopt;
}

std::optional<std::string> QRTBundle::developmentLocalization() const {
  const auto info = infoDictionary();
  return info ? copyOf(stringIn(*info, info_key::developmentRegion)) : std::nullopt;
}

std::vector<std::string> QRTBundle::namesOfActiveLocalizations() const {
  std::vector<std::string> names;
  for (const auto& entry : files_.namesIn(resourcesPath())) {
    const auto name = path::withoutExtension(entry);
    if (path::extension(entry) == localizationExtension && name != "Base") names.emplace_back(name);
  }
  return names;
}

std::string QRTBundle::nonLocalizedName() const {
  return std::string(path::withoutExtension(path::lastComponent(bundlePath_)));
}

std::optional<std::string> QRTBundle::executablePath() const {
  const auto info = infoDictionary();
  if (!info || softwareType_ == SoftwareType::asset) return std::nullopt;
  std::optional<std::string> path;
  if (softwareType_ == SoftwareType::widget) {
    path = executablePathOfWidget(*info);
  } else if (const auto* name = stringIn(*info, info_key::executable)) {
    path = path::appending(path::appending(contentsPath(), "MacOS"), *name);
  }
  return path && files_.isFile(*path) ? std::move(path) : std::nullopt;
}

/// The executable of a widget is in a package inside it.
std::optional<std::string> QRTBundle::executablePathOfWidget(const Dictionary& info) const {
  const auto* plugIn = stringIn(info, "Plugin");
  if (!plugIn) return std::nullopt;
  const auto nested = initWithPath(path::appending(bundlePath_, *plugIn), *platform_);
  const auto nestedInfo = nested ? nested->infoDictionary() : std::nullopt;
  const auto* name = nestedInfo ? stringIn(*nestedInfo, info_key::executable) : nullptr;
  if (!name || name->empty()) return std::nullopt;
  return path::appending(path::appending(nested->contentsPath(), "MacOS"), *name);
}

Array QRTBundle::servicesEntries() const {
  if (softwareType_ != SoftwareType::application) return {};
  const auto info = infoDictionary();
  if (!info) return {};
  const auto entries = info->find(info_key::services);
  const auto* services = entries == info->end() ? nullptr : entries->second.array();
  return services ? *services : Array();
}

bool QRTBundle::isCodesigned() const {
  constexpr std::string_view resourceSeal = "CodeResources";
  return files_.isFile(
             path::appending(path::appending(bundlePath_, "_CodeSignature"), resourceSeal)) ||
         files_.isFile(path::appending(contentsPath(), resourceSeal));
}

bool QRTBundle::hasResource(const std::string& fileName) const {
  const auto resources = resourcesPath();
  if (files_.exists(path::appending(resources, fileName))) return true;
  const auto names = files_.namesIn(resources);
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return path::extension(name) == localizationExtension &&
           files_.exists(path::appending(path::appending(resources, name), fileName));
  });
}

bool QRTBundle::isMRJApplication() const {
  return softwareType_ == SoftwareType::application && hasResource("MRJApp.properties");
}

bool QRTBundle::isRevolutionApplication() const {
  if (softwareType_ != SoftwareType::application) return false;
  const auto plugIns = path::appending(contentsPath(), "PlugIns");
  const auto names = files_.namesIn(plugIns);
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    if (!name.ends_with("_support.bundle")) return false;
    const auto support = initWithPath(path::appending(plugIns, name), *platform_);
    return support && support->bundleIdentifier() &&
           support->bundleIdentifier()->starts_with("com.runrev");
  });
}

std::shared_ptr<const SystemBundle> QRTBundle::systemBundle() const {
  return platform_->applications.systemBundle(bundlePath_);
}

std::weak_ordering QRTBundle::compare(const QRTBundle* other) const {
  if (!other) return std::weak_ordering::greater;
  return compareIgnoringCase(path::lastComponent(bundlePath_),
                             path::lastComponent(other->bundlePath_));
}

std::string QRTBundle::description() const {
  const auto number = [](auto value) { return std::to_string(static_cast<std::int64_t>(value)); };
  return "QRTBundle: '" + bundlePath_ + "' style: " + number(packageStyle_) +
         " type: " + number(softwareType_) + " version: '" + versionString_.value_or("(null)") +
         "' identifier: '" + bundleIdentifier_.value_or("(null)") +
         "' last used: " + described(dateLastUsed_) + "\n";
}

}  // namespace qrt
