// The system's utilities that clients may run.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "operations/UtilityPaths.h"

namespace qrt {

/// A client names a utility; this table has its path.
class TrustedUtilities {
 public:
  /// The paths are not copied.
  explicit TrustedUtilities(std::span<const std::string_view> paths = utilityPaths());

  /// The path of a utility; nothing for an unknown name or if one of the texts is empty. Unless a
  /// text is empty, sets the booleans that are not null, also for an unknown name: `*isExternal` if
  /// the program must be checked before it runs, `*needsSafePathEnvironment` if it needs a "PATH".
  std::optional<std::string> trustedPathForApplicationPath(
      std::string_view applicationPath, std::string_view utilityName, bool* isExternal = nullptr,
      bool* needsSafePathEnvironment = nullptr) const;

 private:
  std::map<std::string_view, std::string_view> pathsByName_;
};

}  // namespace qrt
