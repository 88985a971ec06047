// The native file system behind an interface of a test's own.
#pragma once

#include <memory>
#include <string>

#include "platform/NativeFileSystem.h"

namespace qrt::test {

/// Passes every call on; a double overrides the few that it is about.
class ForwardingFileSystem : public FileSystem {
 public:
  PosixResult<FileStatus> status(FileAt object, Links links) override {
    return native_->status(object, links);
  }
  PosixResult<HeldObject> hold(FileAt object, Links links) override {
    return native_->hold(object, links);
  }
  PosixResult<HeldObject> holdOpen(FileAt object) override { return native_->holdOpen(object); }
  PosixResult<Folder> openFolder(FileAt object, Links links) override {
    return native_->openFolder(object, links);
  }
  PosixResult<Location> locate(const std::string& path) override { return native_->locate(path); }
  PosixResult<std::string> linkTarget(FileAt link) override { return native_->linkTarget(link); }
  PosixResult<std::string> resolvedPath(const std::string& path) override {
    return native_->resolvedPath(path);
  }
  PosixResult<OpenFile> createFile(FileAt object, std::uint32_t permissions) override {
    return native_->createFile(object, permissions);
  }
  PosixResult<Folder> createFolder(FileAt object, std::uint32_t permissions) override {
    return native_->createFolder(object, permissions);
  }
  PosixCode createLink(FileAt object, const std::string& target) override {
    return native_->createLink(object, target);
  }
  PosixCode createHardLink(FileAt object, FileAt existing) override {
    return native_->createHardLink(object, existing);
  }
  PosixCode createSpecialFile(FileAt object, FileAt model) override {
    return native_->createSpecialFile(object, model);
  }
  PosixCode rename(FileAt object, FileAt newObject) override {
    return native_->rename(object, newObject);
  }
  PosixCode setOwner(FileAt object, Links links, std::uint32_t userID,
                     std::uint32_t groupID) override {
    return native_->setOwner(object, links, userID, groupID);
  }
  PosixCode setPermissions(FileAt object, Links links, std::uint32_t permissions) override {
    return native_->setPermissions(object, links, permissions);
  }
  PosixCode touch(FileAt object, Links links) override { return native_->touch(object, links); }
  PosixCode copyTimes(FileAt from, FileAt to) override { return native_->copyTimes(from, to); }
  PosixCode copyCreationTime(FileAt from, FileAt to) override {
    return native_->copyCreationTime(from, to);
  }
  PosixCode copyContents(FileAt from, OpenFile& to) override {
    return native_->copyContents(from, to);
  }
  PosixCode synchronize(const Folder& onFileSystem) override {
    return native_->synchronize(onFileSystem);
  }
  PosixCode removeFolder(FileAt object) override { return native_->removeFolder(object); }
  PosixCode removeFile(FileAt object) override { return native_->removeFile(object); }
  PosixCode setFlags(FileAt object, Links links, const FileStatus& current,
                     std::uint32_t wanted) override {
    return native_->setFlags(object, links, current, wanted);
  }
  PosixResult<Data> readFile(FileAt object, std::size_t limit) override {
    return native_->readFile(object, limit);
  }

 private:
  std::unique_ptr<FileSystem> native_ = makeNativeFileSystem();
};

}  // namespace qrt::test
