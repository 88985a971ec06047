// Names that every folder holds.
#pragma once

namespace qrt {

/// The folder itself and the one that holds it, which no listing is to show.
constexpr bool isDotOrDots(const char* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

}  // namespace qrt
