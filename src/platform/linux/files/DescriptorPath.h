// A path to the very object that a descriptor stands for.
#pragma once

#include <string>

namespace qrt {

/// For calls that take no descriptor, or none that merely holds an object.
inline std::string descriptorPath(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace qrt
