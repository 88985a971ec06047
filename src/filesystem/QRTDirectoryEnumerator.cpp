#include "filesystem/QRTDirectoryEnumerator.h"

#include <algorithm>
#include <cstring>

namespace qrt {
namespace {

/// Set in the type bits of folders. Those of sockets, block devices and whiteouts have it as well;
/// these are then simply not opened.
constexpr std::uint32_t folderBit = 0x4000;

/// Where every volume is found a second time, by its number.
constexpr std::string_view volumeNamespace = "/.vol";

}  // namespace

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtPath(
    FileSystem& files, Log& log, const std::string& path) {
  return enumeratorAtPath(files, log, path, false);
}

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtPath(
    FileSystem& files, Log& log, const std::string& path, bool stayOnFileSystem) {
  if (path.empty()) return nullptr;
  std::unique_ptr<QRTDirectoryEnumerator> made(new QRTDirectoryEnumerator(files, log, path));
  if (!made->initForBasePath(path.c_str(), Links::follow, stayOnFileSystem)) return nullptr;
  return made;
}

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtObject(
    FileSystem& files, Log& log, FileAt object, const std::string& path, bool stayOnFileSystem) {
  std::unique_ptr<QRTDirectoryEnumerator> made(new QRTDirectoryEnumerator(files, log, path));
  if (!made->initForBasePath(object, Links::stay, stayOnFileSystem)) return nullptr;
  return made;
}

QRTDirectoryEnumerator::QRTDirectoryEnumerator(FileSystem& files, Log& log,
                                               const std::string& basePath)
    : files_(files), log_(log), basePath_(basePath) {}

bool QRTDirectoryEnumerator::initForBasePath(FileAt base, Links links, bool stayOnFileSystem) {
  const bool isPath = basePath_.find('\0') == std::string::npos;
  const auto status =
      isPath ? files_.status(base, links) : PosixResult<FileStatus>(PosixCode::noEntry);
  if (!status || !status->isFolder()) {
    log_.error("%{public}@: attempt to initialize with invalid path '%@'", className, basePath_);
    return false;
  }
  if (basePath_.size() != 1) basePath_ += '/';

  levelCount_ = 1;
  auto folder = files_.openFolder(base, links);
  if (folder) {
    top().folder.emplace(std::move(*folder));
  } else {
    note(folder.error());
  }
  if (stayOnFileSystem) {
    const auto ownStatus = files_.status(base, Links::stay);
    shouldStayOnFileSystem_ = static_cast<bool>(ownStatus);
    if (ownStatus) baseFileSystemID_ = ownStatus->device;
  }
  return true;
}

std::optional<std::string> QRTDirectoryEnumerator::nextObject() {
  if (!advance()) return std::nullopt;
  return path_;
}

bool QRTDirectoryEnumerator::advance() {
  if (!readNextEntry()) return false;
  objectHolder_ = &top();
  path_.resize(relativePathLength_);
  if (relativePathLength_ != 0) path_ += '/';
  path_ += entry_.name;
  if (shouldDescend()) pushDirectoryEntry();
  return true;
}

std::vector<std::string> QRTDirectoryEnumerator::allObjects() {
  std::vector<std::string> paths;
  while (auto path = nextObject()) paths.push_back(std::move(*path));
  return paths;
}

void QRTDirectoryEnumerator::skipDescendents() { popDirectory(); }

bool QRTDirectoryEnumerator::readNextEntry() {
  while (levelCount_ != 0 && failure_ == PosixCode::success) {
    if (auto& folder = top().folder) {
      const auto entry = folder->next();
      if (!entry) note(entry.error());
      if (entry && *entry) {
        entry_ = **entry;
        return true;
      }
    }
    popDirectory();
  }
  return false;
}

bool QRTDirectoryEnumerator::shouldDescend() const {
  const bool isTypeKnown = entry_.type != 0;
  if (isTypeKnown && (entry_.type & folderBit) == 0) return false;
  if (!isTypeKnown || shouldStayOnFileSystem_) {
    const auto status = files_.status(object(), Links::stay);
    if (!status || (status->type() & folderBit) == 0) return false;
    if (shouldStayOnFileSystem_) return status->device == baseFileSystemID_;
  }
  return !isInVolumeNamespace();
}

bool QRTDirectoryEnumerator::isInVolumeNamespace() const {
  const auto fromBase = std::min(basePath_.size(), volumeNamespace.size());
  return basePath_.starts_with(volumeNamespace.substr(0, fromBase)) &&
         path_.starts_with(volumeNamespace.substr(fromBase));
}

void QRTDirectoryEnumerator::pushDirectoryEntry() {
  const auto nameLength = std::strlen(entry_.name);
  if (nameLength == 0) return;
  if (relativePathLength_ + 1 + nameLength > maximumPathLength) {
    log_.standard("%{public}@: maximum path length reached. Skipping...", className);
    return;
  }
  if (levelCount_ == maximumLevels) {
    log_.standard("%{public}@: maximum number of nested directories reached. Skipping...",
                  className);
    return;
  }

  auto folder = files_.openFolder(object(), Links::stay);
  if (!folder) return note(folder.error());
  auto& level = levels_[levelCount_++];
  level.folder.emplace(std::move(*folder));
  level.componentLength = static_cast<std::uint8_t>(path_.size() - relativePathLength_);
  relativePathLength_ += level.componentLength;
}

void QRTDirectoryEnumerator::popDirectory() {
  if (levelCount_ == 0) return;
  auto& level = levels_[--levelCount_];
  level.folder.reset();
  relativePathLength_ -= level.componentLength;
}

void QRTDirectoryEnumerator::note(PosixCode failure) {
  if (isExhaustion(failure)) failure_ = failure;
}

}  // namespace qrt
