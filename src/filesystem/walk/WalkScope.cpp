#include "filesystem/walk/WalkScope.h"

#include <algorithm>

namespace qrt {
namespace {

/// Set in the type bits of folders. Those of sockets, block devices and whiteouts have it as well;
/// these are then simply not opened.
constexpr std::uint32_t folderBit = 0x4000;

/// Where every volume is found a second time, by its number.
constexpr std::string_view volumeNamespace = "/.vol";

}  // namespace

WalkScope::WalkScope(FileSystem& files, std::string basePath)
    : files_(files), basePath_(std::move(basePath)) {
  if (basePath_.size() != 1) basePath_ += '/';
}

void WalkScope::stayOnFileSystemOf(FileAt base) {
  const auto status = files_.status(base, Links::stay);
  if (status) device_ = status->device;
}

bool WalkScope::includesContentsOf(FileAt object, std::uint32_t type,
                                   std::string_view relativePath) const {
  const bool isTypeKnown = type != 0;
  if (isTypeKnown && (type & folderBit) == 0) return false;
  if (!isTypeKnown || device_) {
    const auto status = files_.status(object, Links::stay);
    if (!status || (status->type() & folderBit) == 0) return false;
    if (device_) return status->device == *device_;
  }
  return !isInVolumeNamespace(relativePath);
}

bool WalkScope::isInVolumeNamespace(std::string_view relativePath) const {
  const auto fromBase = std::min(basePath_.size(), volumeNamespace.size());
  return basePath_.starts_with(volumeNamespace.substr(0, fromBase)) &&
         relativePath.starts_with(volumeNamespace.substr(fromBase));
}

}  // namespace qrt
