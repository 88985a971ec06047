// The native file system with flags and failures of a test's choice.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "PortFileSystem.h"

namespace qrt::test {

/// Passes everything on. Objects with planted flags show them beside their own; a planted answer
/// replaces a call. Set it up before other threads use it.
class FileSystemDouble : public PortFileSystem {
 public:
  using Answer = std::optional<PosixCode>;

  Answer setFlagsAnswer;
  /// Called before a removal; an answer replaces it.
  std::function<Answer(FileAt)> beforeRemoval = [](FileAt) { return std::nullopt; };

  void plantFlags(const std::string& path, std::uint32_t flags) {
    planted_[PortFileSystem::status(path.c_str(), Links::stay)->inode] = flags;
  }

  PosixResult<FileStatus> status(FileAt object, Links links) override {
    auto status = PortFileSystem::status(object, links);
    if (status) status->flags |= plantedOn(*status);
    return status;
  }
  PosixCode removeFolder(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : PortFileSystem::removeFolder(object);
  }
  PosixCode removeFile(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : PortFileSystem::removeFile(object);
  }
  PosixCode setFlags(FileAt object, Links links, const FileStatus& current,
                     std::uint32_t wanted) override {
    if (setFlagsAnswer) return *setFlagsAnswer;
    auto own = current;
    own.flags &= ~plantedOn(current);
    return PortFileSystem::setFlags(object, links, own, wanted & ~plantedOn(current));
  }

 private:
  std::uint32_t plantedOn(const FileStatus& status) const {
    const auto found = planted_.find(status.inode);
    return found == planted_.end() ? 0 : found->second;
  }

  std::map<std::uint64_t, std::uint32_t> planted_;
};

}  // namespace qrt::test
