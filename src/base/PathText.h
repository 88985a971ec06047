// Paths as text.
#pragma once

#include <string_view>

namespace qrt {

/// What stands behind the last "/"; the whole text when it has none.
inline std::string_view lastPathComponent(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

/// True for a text that can be the name of one object in a folder.
inline bool isPathComponent(std::string_view text) {
  constexpr std::string_view neverInNames("/\0", 2);
  return !text.empty() && text != "." && text != ".." &&
         text.find_first_of(neverInNames) == std::string_view::npos;
}

}  // namespace qrt
