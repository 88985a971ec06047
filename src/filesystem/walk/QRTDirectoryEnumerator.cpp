#include "filesystem/walk/QRTDirectoryEnumerator.h"

#include "base/Path.h"

namespace qrt {

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
    : files_(files), log_(log), basePath_(basePath), scope_(files, basePath) {}

bool QRTDirectoryEnumerator::initForBasePath(FileAt base, Links links, bool stayOnFileSystem) {
  const auto status =
      path::holdsZeroByte(basePath_) ? PosixCode::noEntry : files_.status(base, links);
  if (!status || !status->isFolder()) {
    log_.error("%{public}@: attempt to initialize with invalid path '%@'", className, basePath_);
    return false;
  }

  cursor_.enterBase(base, links);
  if (stayOnFileSystem) scope_.stayOnFileSystemOf(base);
  return true;
}

std::optional<std::string> QRTDirectoryEnumerator::nextObject() {
  if (!advance()) return std::nullopt;
  return *path_;
}

bool QRTDirectoryEnumerator::advance() {
  if (!advanceInBranch() && !advanceCursor()) return false;
  tellLimit(log_, sighting_->limit);
  levels_ = sighting_->levels();
  return true;
}

bool QRTDirectoryEnumerator::advanceInBranch() {
  if (!branch_) return false;
  sighting_ = branch_->next();
  if (sighting_ == nullptr) {
    branch_.reset();
    return false;
  }
  sighting_->depth.lead(pathInBranch_, sighting_->name);
  return true;
}

bool QRTDirectoryEnumerator::advanceCursor() {
  if (!cursor_.advance()) return false;
  sighting_ = &cursor_.sighting();
  path_ = &cursor_.path();
  if (cursor_.isObjectToBeEntered()) enterObject();
  return true;
}

void QRTDirectoryEnumerator::enterObject() {
  branch_ = ahead_.take(*sighting_);
  if (branch_) {
    pathInBranch_ = cursor_.path();
    path_ = &pathInBranch_;
    cursor_.enterObject(branch_->cursor());
  } else {
    cursor_.enterObject();
    // What is ahead holds descriptors and memory too.
    if (cursor_.failure() != PosixCode::success && ahead_.forget(0)) cursor_.enterObject();
  }
  ahead_.prepare(cursor_);
}

std::optional<FileStatus> QRTDirectoryEnumerator::objectStatus() const {
  if (sighting_->status != nullptr) return *sighting_->status;
  const auto status = files_.status(object(), Links::stay);
  return status ? std::optional(*status) : std::nullopt;
}

std::vector<std::string> QRTDirectoryEnumerator::allObjects() {
  std::vector<std::string> paths;
  while (auto path = nextObject()) paths.push_back(std::move(*path));
  return paths;
}

void QRTDirectoryEnumerator::skipDescendents() {
  if (levels_ == 0) return;
  --levels_;
  if (branch_) branch_->skipTo(levels_);
  if (!branch_ || branch_->isAtEnd()) cursor_.leaveTo(levels_);
  ahead_.forget(levels_);
}

bool QRTDirectoryEnumerator::isEntered(const WalkScope& scope, Log& log, FileAt folder,
                                       std::string_view relativePath) {
  if (!scope.includesContentsOf(folder, file_type::folder, relativePath)) return false;
  const auto limit = WalkDepth::limitForPath(relativePath);
  tellLimit(log, limit);
  return limit == WalkDepth::Limit::none;
}

void QRTDirectoryEnumerator::tellLimit(Log& log, WalkDepth::Limit limit) {
  switch (limit) {
    case WalkDepth::Limit::none:
      return;
    case WalkDepth::Limit::pathLength:
      return log.standard("%{public}@: maximum path length reached. Skipping...", className);
    case WalkDepth::Limit::levels:
      return log.standard("%{public}@: maximum number of nested directories reached. Skipping...",
                          className);
  }
}

}  // namespace qrt
