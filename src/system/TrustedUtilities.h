// The utilities of the operating system that a client may run.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace qrt {

/// A client names a utility; its path is decided here.
class TrustedUtilities {
 public:
  static const std::span<const std::string_view> standardPaths;

  /// The paths are not copied.
  explicit TrustedUtilities(std::span<const std::string_view> paths = standardPaths);

  /// The path of a utility; none for an unknown name and when one of the texts is empty. The
  /// booleans may be null and are set for every name: `*isExternal` when the program must be tested
  /// before it runs, `*needsSafePathEnvironment` when it needs a "PATH". Empty texts set neither.
  std::optional<std::string> trustedPathForApplicationPath(
      std::string_view applicationPath, std::string_view utilityName, bool* isExternal = nullptr,
      bool* needsSafePathEnvironment = nullptr) const;

 private:
  std::map<std::string_view, std::string_view> pathsByName_;
};

}  // namespace qrt
