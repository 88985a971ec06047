// The file system through the home platform's own calls.
#pragma once

#include "platform/posix/PosixFileSystem.h"

namespace qrt {

/// BSD flags and whiteouts are the file systems' own.
class MacosFileSystem : public PosixFileSystem {
 public:
  PosixResult<FileStatus> status(FileAt object, Links links) override;
  /// Sockets and devices are held by their folder and name; one that a link leads to is
  /// `notSupported`.
  PosixResult<HeldObject> hold(FileAt object, Links links) override;
  PosixResult<HeldObject> holdOpen(FileAt object) override { return hold(object, Links::stay); }
  PosixResult<Folder> openFolder(FileAt object, Links links) override;
  using PosixFileSystem::openFolder;
  /// `nameTooLong` for a link whose path is longer than the system reports.
  PosixResult<std::string> linkTarget(const HeldObject& link) override;
  using PosixFileSystem::linkTarget;
  PosixCode setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) override;
  PosixResult<Data> readFile(FileAt object, std::size_t limit) override;
  /// `notSupported` for sockets, which only their listeners can make, and on volumes where folders
  /// cannot be opened by number.
  PosixCode createSpecialFile(FileAt object, const HeldObject& model) override;
  PosixCode rename(FileAt object, FileAt newObject) override;
  /// Files have no leases here.
  PosixCode copyContents(const HeldObject& from, OpenFile& to, LeaseWait& leases) override;
  PosixCode synchronize(const Folder& onFileSystem) override;

 private:
  PosixResult<HeldObject> holdByName(FileAt object);
  PosixCode renameAfterLooking(FileAt object, FileAt newObject);
};

}  // namespace qrt
