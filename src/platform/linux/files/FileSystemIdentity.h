// Working on files with the rights of another user.
#pragma once

#include <sys/types.h>

#include <vector>

namespace qrt {

/// While it lives, the calling thread has the rights of that user and group on files, and is in no
/// other group; what it creates belongs to them. Other threads are not affected. Can be nested. For
/// root.
class FileSystemIdentity {
 public:
  FileSystemIdentity(uid_t user, gid_t group);
  FileSystemIdentity(const FileSystemIdentity&) = delete;
  FileSystemIdentity& operator=(const FileSystemIdentity&) = delete;
  ~FileSystemIdentity();

  /// False when the system refused; nothing must be done then.
  bool isTaken() const { return isTaken_; }

 private:
  std::vector<gid_t> previousGroups_;
  gid_t previousGroup_;
  uid_t previousUser_;
  bool isTaken_;
};

}  // namespace qrt
