// What an authorization dialog shows.
#pragma once

#include <string>

namespace qrt {

/// What the authorization dialog shows instead of the right's own text and icon. An empty member
/// changes nothing.
struct AuthorizationPresentation {
  std::string prompt;
  /// Absolute path of an image file that every user can read.
  std::string iconPath;
};

}  // namespace qrt
