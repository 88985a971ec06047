// A path that leads to the object of a descriptor.
#pragma once

#include <string>

namespace qrt {

/// For system calls that take no descriptor, or no `O_PATH` descriptor.
inline std::string descriptorPath(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace qrt
