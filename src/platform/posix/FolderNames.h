// The names that every folder contains.
#pragma once

namespace qrt {

/// "." and "..", which no listing shows.
constexpr bool isDotOrDots(const char* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

}  // namespace qrt
