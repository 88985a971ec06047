// The file system through Linux's own calls.
#pragma once

#include "platform/posix/PosixFileSystem.h"

namespace qrt {

/// BSD flags are inode flags here: user immutable and user append-only exist where the file system
/// keeps them, the others nowhere. A whiteout is the character device 0:0.
class LinuxFileSystem : public PosixFileSystem {
 public:
  PosixResult<FileStatus> status(FileAt object, Links links) override;
  PosixResult<HeldObject> hold(FileAt object, Links links) override;
  PosixResult<HeldObject> holdOpen(FileAt object) override;
  PosixResult<std::string> linkTarget(const HeldObject& link) override;
  using PosixFileSystem::linkTarget;
  PosixCode setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) override;
  PosixResult<Data> readFile(FileAt object, std::size_t limit) override;
  PosixCode createSpecialFile(FileAt object, const HeldObject& model) override;
  PosixCode rename(FileAt object, FileAt newObject) override;
  PosixCode copyContents(const HeldObject& from, OpenFile& to, LeaseWait& leases) override;
  PosixCode synchronize(const Folder& onFileSystem) override;

  /// What `rename` does on file systems that cannot refuse a taken name themselves.
  PosixCode renameAfterLooking(FileAt object, FileAt newObject);
};

}  // namespace qrt
