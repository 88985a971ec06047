// What is known about the running operating system.
#pragma once

#include <cstdint>
#include <string>

namespace qrt {

/// A snapshot; the initial values stand for a system without a version file.
struct QRTOSVersionInfoCache {
  /// Texts use their polite variant.
  bool shouldUIUsePoliteForms = true;
  std::string osName;
  std::string osMarketingName;
  std::string osVersion;
  std::string osBuild;
  /// Hexadecimal digits: two of the major version, one each of minor version and patch. 10.9.5 is
  /// 0x1095. A minor version or patch above 15 carries.
  std::int64_t osVersionCode = 0x1000;

  friend bool operator==(const QRTOSVersionInfoCache&, const QRTOSVersionInfoCache&) = default;
};

}  // namespace qrt
