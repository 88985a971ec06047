// Names of what this system has at the moment, for the completion of words.
#pragma once

#include <string>
#include <vector>

namespace qrt {

/// Of the folder's entries, sorted; a folder's name ends in "/". Empty for a folder that cannot be
/// read.
std::vector<std::string> namesInFolder(const std::string& folder);

/// Below the folder of the devices.
std::vector<std::string> blockDeviceNames();
/// As enable-ipvsix takes them.
std::vector<std::string> networkServiceNames();

}  // namespace qrt
