#include "filesystem/walk/QRTDirectoryEnumerator.h"

#include "base/Text.h"

namespace qrt {

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtPath(
    const Platform& platform, const std::string& path) {
  return enumeratorAtPath(platform, path, false);
}

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtPath(
    const Platform& platform, const std::string& path, bool stayOnFileSystem) {
  if (path.empty()) return nullptr;
  std::unique_ptr<QRTDirectoryEnumerator> made(new QRTDirectoryEnumerator(platform, path));
  if (!made->initForBasePath(path.c_str(), Links::follow, stayOnFileSystem)) return nullptr;
  return made;
}

std::unique_ptr<QRTDirectoryEnumerator> QRTDirectoryEnumerator::enumeratorAtObject(
    const Platform& platform, FileAt object, const std::string& path, bool stayOnFileSystem) {
  std::unique_ptr<QRTDirectoryEnumerator> made(new QRTDirectoryEnumerator(platform, path));
  if (!made->initForBasePath(object, Links::stay, stayOnFileSystem)) return nullptr;
  return made;
}

QRTDirectoryEnumerator::QRTDirectoryEnumerator(const Platform& platform,
                                               const std::string& basePath)
    : files_(platform.files),
      log_(platform.log),
      stop_(platform.stop),
      basePath_(basePath),
      bounds_(files_, log_, basePath),
      prefetch_(files_, bounds_, platform.workers) {}

bool QRTDirectoryEnumerator::initForBasePath(FileAt base, Links links, bool stayOnFileSystem) {
  const auto status = holdsZeroByte(basePath_) ? PosixCode::noEntry : files_.status(base, links);
  if (!status || !status->isFolder()) {
    log_.error("%{public}@: attempt to initialize with invalid path '%@'", className, basePath_);
    return false;
  }

  cursor_.enterBase(base, links);
  if (stayOnFileSystem) bounds_.stayOnFileSystemOf(base);
  return true;
}

std::optional<std::string> QRTDirectoryEnumerator::nextObject() {
  if (!advance()) return std::nullopt;
  return *path_;
}

bool QRTDirectoryEnumerator::advance() {
  if (stop_.isSet()) failure_ = PosixCode::canceled;
  if (failure_ != PosixCode::success) return false;
  if (!advanceInPrefetched() && !advanceCursor()) return false;
  bounds_.log(entry_->limit);
  levels_ = entry_->levels();
  return true;
}

bool QRTDirectoryEnumerator::advanceInPrefetched() {
  if (!prefetched_) return false;
  entry_ = prefetched_->next();
  if (entry_ == nullptr) {
    prefetched_.reset();
    return false;
  }
  entry_->depth.lead(pathInPrefetched_, entry_->name);
  return true;
}

bool QRTDirectoryEnumerator::advanceCursor() {
  if (!cursor_.advance()) return false;
  entry_ = &cursor_.entry();
  path_ = &cursor_.path();
  if (cursor_.isObjectToBeEntered()) enterObject();
  return true;
}

void QRTDirectoryEnumerator::enterObject() {
  prefetched_ = prefetch_.take(*entry_);
  if (prefetched_) {
    pathInPrefetched_ = cursor_.path();
    path_ = &pathInPrefetched_;
    cursor_.enterObject(prefetched_->cursor());
  } else {
    cursor_.enterObject();
    // Recordings hold descriptors and memory too.
    if (cursor_.failure() != PosixCode::success && prefetch_.forget(0)) cursor_.enterObject();
  }
  prefetch_.prepare(cursor_);
}

std::optional<FileStatus> QRTDirectoryEnumerator::objectStatus() {
  if (entry_->status != nullptr) return *entry_->status;
  auto status = readStatus();
  if (!status && isExhaustion(status.error())) {
    if (prefetch_.forget(0)) status = readStatus();
    if (!status && isExhaustion(status.error())) failure_ = status.error();
  }
  return status ? std::optional(*status) : std::nullopt;
}

PosixResult<FileStatus> QRTDirectoryEnumerator::readStatus() {
  if (entry_->holder == nullptr) return prefetched_->readStatus();
  return files_.status(entry_->object(), Links::stay);
}

std::vector<std::string> QRTDirectoryEnumerator::allObjects() {
  std::vector<std::string> paths;
  while (auto path = nextObject()) paths.push_back(std::move(*path));
  return paths;
}

void QRTDirectoryEnumerator::skipDescendents() {
  if (levels_ == 0) return;
  --levels_;
  if (prefetched_) prefetched_->skipTo(levels_);
  if (!prefetched_ || prefetched_->isAtEnd()) cursor_.leaveTo(levels_);
  prefetch_.forget(levels_);
}

}  // namespace qrt
