#include "filesystem/objects/PathText.h"

namespace qrt {

std::string appendingPathComponent(std::string path, std::string_view component) {
  if (component.empty()) return path;
  if (!path.ends_with('/')) path += '/';
  return path.append(component);
}

}  // namespace qrt
