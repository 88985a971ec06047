#include "filesystem/QRTDirectoryEnumerator.h"

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
  const bool isPath = basePath_.find('\0') == std::string::npos;
  const auto status =
      isPath ? files_.status(base, links) : PosixResult<FileStatus>(PosixCode::noEntry);
  if (!status || !status->isFolder()) {
    log_.error("%{public}@: attempt to initialize with invalid path '%@'", className, basePath_);
    return false;
  }

  levelCount_ = 1;
  auto folder = files_.openFolder(base, links);
  if (folder) {
    top().folder = std::make_shared<Folder>(std::move(*folder));
  } else {
    note(folder.error());
  }
  if (stayOnFileSystem) scope_.stayOnFileSystemOf(base);
  return true;
}

std::optional<std::string> QRTDirectoryEnumerator::nextObject() {
  if (!advance()) return std::nullopt;
  return path_;
}

bool QRTDirectoryEnumerator::advance() {
  if (!readNextEntry()) return false;
  objectHolder_ = &top();
  path_.resize(top().depth.pathLength());
  if (!path_.empty()) path_ += '/';
  path_ += entry_.name;
  if (scope_.includesContentsOf(object(), entry_.type, path_)) pushDirectoryEntry();
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

void QRTDirectoryEnumerator::pushDirectoryEntry() {
  const std::string_view name = entry_.name;
  if (name.empty()) return;
  const auto depth = top().depth;
  const auto limit = depth.limitFor(name);
  tellLimit(log_, limit);
  if (limit != WalkDepth::Limit::none) return;

  auto folder = files_.openFolder(object(), Links::stay);
  if (!folder) return note(folder.error());
  auto& level = levels_[levelCount_++];
  level.folder = std::make_shared<Folder>(std::move(*folder));
  level.depth = depth.below(name);
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

void QRTDirectoryEnumerator::popDirectory() {
  if (levelCount_ == 0) return;
  levels_[--levelCount_].folder.reset();
}

void QRTDirectoryEnumerator::note(PosixCode failure) {
  if (isExhaustion(failure)) failure_ = failure;
}

}  // namespace qrt
