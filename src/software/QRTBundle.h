// A software package on disk, examined without loading it.
#pragma once

#include <compare>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "software/BundleClassification.h"
#include "software/FileQueries.h"

namespace qrt {

struct Platform;
class SystemBundle;

/// A package is not trusted: whatever its files hold, each query returns a value or nothing.
///
/// The properties are read at construction, everything else at each call. Thread-safe. The platform
/// outlives the object.
class QRTBundle {
 public:
  /// Nothing for an empty path, without an information file, and for a package with that file at
  /// its top that is neither a widget nor an asset.
  static std::optional<QRTBundle> initWithPath(const std::string& path, const Platform& platform);

  /// The path of the information file in a package of that style; nothing for an unknown style.
  static std::optional<std::string> infoPathForBundlePath(const std::string& bundlePath,
                                                          PackageStyle packageStyle);

  /// 10.136 for "10.13.6": only the first dot of the first run of digits and dots counts.
  static double versionNumberFromString(const std::string& string);

  /// The highest version of all installed applications with that identifier, 0 without one.
  static float versionNumberForApplicationWithIdentifier(const std::string& identifier,
                                                         const Platform& platform);

  static bool isQuartzCompositionUsableAsScreenSaverWithContents(const Dictionary& contents);

  const std::string& bundlePath() const { return bundlePath_; }
  PackageStyle packageStyle() const { return packageStyle_; }
  SoftwareType softwareType() const { return softwareType_; }
  /// "1.2 (345)" if the package has two versions.
  const std::optional<std::string>& versionString() const { return versionString_; }
  const std::optional<std::string>& bundleIdentifier() const { return bundleIdentifier_; }
  const std::optional<Date>& dateLastUsed() const { return dateLastUsed_; }

  std::string contentsPath() const;
  std::string resourcesPath() const;
  std::optional<std::string> infoDictionaryPath() const;
  std::optional<Dictionary> infoDictionary() const;
  std::optional<std::string> developmentLocalization() const;
  std::vector<std::string> namesOfActiveLocalizations() const;
  std::string nonLocalizedName() const;

  /// Nothing unless there is such a file.
  std::optional<std::string> executablePath() const;

  /// Empty unless it is an application.
  Array servicesEntries() const;

  /// Whether there is a signature, good or bad.
  bool isCodesigned() const;

  bool isMRJApplication() const;
  bool isRevolutionApplication() const;

  /// Null on ports without an object for bundles.
  std::shared_ptr<const SystemBundle> systemBundle() const;

  /// By name, without regard to case. Null precedes every bundle.
  std::weak_ordering compare(const QRTBundle* other) const;

  std::string description() const;

 private:
  QRTBundle(const std::string& path, PackageStyle style, const Platform& platform);
  std::optional<std::string> executablePathOfWidget(const Dictionary& info) const;
  bool hasResource(const std::string& fileName) const;

  const Platform* platform_;
  FileQueries files_;
  std::string bundlePath_;
  PackageStyle packageStyle_;
  SoftwareType softwareType_ = SoftwareType::other;
  std::optional<std::string> versionString_;
  std::optional<std::string> bundleIdentifier_;
  std::optional<Date> dateLastUsed_;
};

}  // namespace qrt
