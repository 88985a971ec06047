// Layouts and kinds of software packages.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

class FileQueries;

/// Where a package keeps its information file.
enum class PackageStyle : std::int64_t {
  contents = 0,
  resources = 1,
  /// At the top of the package.
  top = 2,
  contentsForMacOS = 3,
  resourcesForMacOS = 4,
  /// The package is the information file.
  quartzComposition = 5,
};

enum class SoftwareType : std::int64_t {
  other = 0,
  application = 1,
  widget = 2,
  screenSaver = 3,
  preferencePane = 4,
  component = 5,
  internetPlugIn = 6,
  asset = 7,
};

/// Entries of information dictionaries.
namespace info_key {
inline constexpr const char* executable = "CFBundleExecutable";
inline constexpr const char* identifier = "CFBundleIdentifier";
inline constexpr const char* version = "CFBundleVersion";
inline constexpr const char* shortVersion = "CFBundleShortVersionString";
inline constexpr const char* infoText = "CFBundleGetInfoString";
inline constexpr const char* developmentRegion = "CFBundleDevelopmentRegion";
inline constexpr const char* services = "NSServices";
}  // namespace info_key

/// The path of the information file in a package of that style. Nothing for an empty path, an
/// unknown style, and a composition with the wrong extension.
std::optional<std::string> infoPath(const std::string& bundlePath, PackageStyle style);

/// The first style whose information file exists.
std::optional<PackageStyle> packageStyleOf(const std::string& bundlePath, const FileQueries& files);

/// True for a dictionary that lists the protocol of screen savers.
bool isScreenSaverComposition(const Dictionary& contents);

/// The kind of software in a package. `info` is empty for a package without information.
SoftwareType softwareTypeOf(const std::string& bundlePath, PackageStyle style,
                            const Dictionary& info, const FileQueries& files);

}  // namespace qrt
