// The native file system with flags and failures of a test's choice.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/NativeFileSystem.h"

namespace qrt::test {

/// Passes everything on. Objects with planted flags show them beside their own; a planted answer
/// replaces a call. Set it up before other threads use it.
class FileSystemDouble : public FileSystem {
 public:
  std::optional<PosixCode> setFlagsAnswer;
  /// Called before a removal; an answer replaces it.
  std::function<std::optional<PosixCode>(FileAt)> beforeRemoval = [](FileAt) {
    return std::nullopt;
  };

  void plantFlags(const std::string& path, std::uint32_t flags) {
    planted_[native_->status(path.c_str(), Links::stay)->inode] = flags;
  }

  PosixResult<FileStatus> status(FileAt object, Links links) override {
    auto status = native_->status(object, links);
    if (status) status->flags |= plantedOn(*status);
    return status;
  }
  PosixResult<Folder> openFolder(FileAt object, Links links) override {
    return native_->openFolder(object, links);
  }
  PosixResult<Location> locate(const std::string& path) override { return native_->locate(path); }
  PosixCode removeFolder(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : native_->removeFolder(object);
  }
  PosixCode removeFile(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : native_->removeFile(object);
  }
  PosixCode setFlags(FileAt object, Links links, const FileStatus& current,
                     std::uint32_t wanted) override {
    if (setFlagsAnswer) return *setFlagsAnswer;
    auto own = current;
    own.flags &= ~plantedOn(current);
    return native_->setFlags(object, links, own, wanted & ~plantedOn(current));
  }
  PosixResult<Data> readFile(FileAt object, std::size_t limit) override {
    return native_->readFile(object, limit);
  }

 private:
  std::uint32_t plantedOn(const FileStatus& status) const {
    const auto found = planted_.find(status.inode);
    return found == planted_.end() ? 0 : found->second;
  }

  std::unique_ptr<FileSystem> native_ = makeNativeFileSystem();
  std::map<std::uint64_t, std::uint32_t> planted_;
};

}  // namespace qrt::test
