#include "software/BundleClassification.h"

#include <algorithm>
#include <string_view>

#include "base/Path.h"
#include "software/FileQueries.h"

namespace qrt {
namespace {

constexpr std::string_view compositionExtension = "qtz";

struct InfoPlace {
  PackageStyle style;
  /// Empty components are left out.
  std::string_view folder, file;
};

/// In the order of preference.
constexpr InfoPlace infoPlaces[] = {
    {PackageStyle::contents, "Contents", "Info.plist"},
    {PackageStyle::resources, "Resources", "Info.plist"},
    {PackageStyle::top, "", "Info.plist"},
    {PackageStyle::contentsForMacOS, "Contents", "Info-macos.plist"},
    {PackageStyle::resourcesForMacOS, "Resources", "Info-macos.plist"},
    {PackageStyle::quartzComposition, "", ""},
};

struct Package {
  const std::string& path;
  const Dictionary& info;
  const FileQueries& files;
};

bool anyPackage(const Package&) { return true; }

bool hasExecutable(const Package& package) { return package.info.contains(info_key::executable); }

bool isInPlugInFolder(const Package& package) {
  return path::lastComponent(path::withoutLastComponent(package.path)) == "Internet Plug-Ins";
}

bool isScreenSaver(const Package& package) { return isScreenSaverComposition(package.info); }

bool hasAssetData(const Package& package) {
  return package.files.exists(path::appending(package.path, "AssetData")) &&
         package.files.exists(path::appending(package.path, "META-INF"));
}

constexpr unsigned bit(PackageStyle style) { return 1u << static_cast<unsigned>(style); }
constexpr unsigned contentsStyles =
    bit(PackageStyle::contents) | bit(PackageStyle::contentsForMacOS);

constexpr std::string_view anyExtension;

struct Kind {
  SoftwareType type;
  std::string_view extension;
  unsigned styles;
  bool (*isOne)(const Package&);
};

/// The first kind that fits counts.
constexpr Kind kinds[] = {
    {SoftwareType::application, "app", contentsStyles, hasExecutable},
    {SoftwareType::widget, "wdgt", bit(PackageStyle::top), anyPackage},
    {SoftwareType::screenSaver, "saver", bit(PackageStyle::contents), anyPackage},
    {SoftwareType::screenSaver, "slideSaver", bit(PackageStyle::contents), anyPackage},
    {SoftwareType::preferencePane, "prefPane", bit(PackageStyle::contents), hasExecutable},
    {SoftwareType::component, "component", contentsStyles, hasExecutable},
    {SoftwareType::internetPlugIn, anyExtension, contentsStyles, isInPlugInFolder},
    {SoftwareType::screenSaver, compositionExtension, bit(PackageStyle::quartzComposition),
     isScreenSaver},
    {SoftwareType::asset, "asset", bit(PackageStyle::top), hasAssetData},
};

}  // namespace

std::optional<std::string> infoPath(const std::string& bundlePath, PackageStyle style) {
  if (bundlePath.empty()) return std::nullopt;
  const auto* place = std::find_if(std::begin(infoPlaces), std::end(infoPlaces),
                                   [style](const InfoPlace& each) { return each.style == style; });
  if (place == std::end(infoPlaces)) return std::nullopt;
  const bool isComposition = style == PackageStyle::quartzComposition;
  if (isComposition && path::extension(bundlePath) != compositionExtension) return std::nullopt;
  return path::appending(path::appending(bundlePath, place->folder), place->file);
}

std::optional<PackageStyle> packageStyleOf(const std::string& bundlePath,
                                           const FileQueries& files) {
  for (const auto& place : infoPlaces) {
    const auto file = infoPath(bundlePath, place.style);
    if (file && files.isFile(*file)) return place.style;
  }
  return std::nullopt;
}

bool isScreenSaverComposition(const Dictionary& contents) {
  const auto entry = contents.find("protocols");
  const auto* protocols = entry == contents.end() ? nullptr : entry->second.array();
  const PropertyValue screenSaver = "com.apple.QuartzComposer.protocol.screensaver";
  return protocols &&
         std::find(protocols->begin(), protocols->end(), screenSaver) != protocols->end();
}

SoftwareType softwareTypeOf(const std::string& bundlePath, PackageStyle style,
                            const Dictionary& info, const FileQueries& files) {
  const Package package{bundlePath, info, files};
  const auto extension = path::extension(bundlePath);
  for (const auto& kind : kinds) {
    const bool hasExtension = kind.extension == anyExtension || kind.extension == extension;
    const bool hasStyle = (kind.styles & bit(style)) != 0;
    if (hasExtension && hasStyle && kind.isOne(package)) return kind.type;
  }
  return SoftwareType::other;
}

}  // namespace qrt
