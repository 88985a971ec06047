#include "filesystem/walk/WalkBounds.h"

#include <algorithm>

#include "base/Path.h"

namespace qrt {
namespace {

/// Set in the type bits of folders, and in those of sockets, block devices and whiteouts, which
/// then fail to open as folders.
constexpr std::uint32_t folderBit = 0x4000;

/// Lists every volume a second time, by its number.
constexpr std::string_view volumeNamespace = "/.vol";

}  // namespace

WalkBounds::WalkBounds(FileSystem& files, Log& log, std::string basePath)
    : files_(files), log_(log), basePath_(std::move(basePath)) {
  if (basePath_.size() != 1) basePath_ += '/';
}

void WalkBounds::stayOnFileSystemOf(FileAt base) {
  const auto status = files_.status(base, Links::stay);
  if (status) device_ = status->device;
}

bool WalkBounds::includesContentsOf(FileAt object, std::uint32_t type,
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

bool WalkBounds::admits(FileAt folder, std::string_view relativePath) const {
  if (!includesContentsOf(folder, file_type::folder, relativePath)) return false;
  Depth depth;
  auto rest = relativePath;
  auto name = path::takeFirstComponent(rest);
  for (; !rest.empty(); name = path::takeFirstComponent(rest)) depth = depth.below(name);
  const auto limit = depth.limitFor(name);
  log(limit);
  return limit == Limit::none;
}

void WalkBounds::log(Limit limit) const {
  constexpr std::string_view className = "QRTDirectoryEnumerator";
  switch (limit) {
    case Limit::none:
      return;
    case Limit::pathLength:
      return log_.standard("%{public}@: maximum path length reached. Skipping...", className);
    case Limit::levels:
      return log_.standard("%{public}@: maximum number of nested directories reached. Skipping...",
                           className);
  }
}

bool WalkBounds::isInVolumeNamespace(std::string_view relativePath) const {
  const auto fromBase = std::min(basePath_.size(), volumeNamespace.size());
  return basePath_.starts_with(volumeNamespace.substr(0, fromBase)) &&
         relativePath.starts_with(volumeNamespace.substr(fromBase));
}

}  // namespace qrt
