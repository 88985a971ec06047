#include "platform/SystemNames.h"

#include <algorithm>

namespace qrt {
namespace {

/// Of the devices of a class. Each is a folder.
std::vector<std::string> namesInClass(const std::string& name) {
  auto names = namesInFolder("/sys/class/" + name);
  names.erase(std::remove_if(names.begin(), names.end(),
                             [](const std::string& entry) { return !entry.ends_with('/'); }),
              names.end());
  for (auto& device : names) device.pop_back();
  return names;
}

}  // namespace

std::vector<std::string> blockDeviceNames() {
  auto names = namesInClass("block");
  // The kernel writes the "/" of a name in this way.
  for (auto& name : names) std::replace(name.begin(), name.end(), '!', '/');
  return names;
}

std::vector<std::string> networkServiceNames() { return namesInClass("net"); }

}  // namespace qrt
