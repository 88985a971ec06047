// A folder that is closed during work below it.
#pragma once

#include <utility>

#include "platform/FileSystem.h"

namespace qrt {

/// The owner of a tree chooses its depth, so no work on it may hold a descriptor for each level.
/// Belongs to one thread at a time.
class ReopenableFolder {
 public:
  explicit ReopenableFolder(Folder folder) : folder_(std::move(folder)) {}

  bool isOpen() const { return isOpen_; }

  /// Only while it is open.
  const Folder& operator*() const { return folder_; }
  Folder& operator*() { return folder_; }
  Folder* operator->() { return &folder_; }

  /// Keeps what is needed to recognise the folder and to continue its listing.
  PosixCode close();

  /// Opens it through a folder in it. That folder may have been moved elsewhere: a parent other
  /// than the folder that was closed is `noEntry`.
  PosixCode reopen(FileSystem& files, const Folder& subfolder);

 private:
  Folder folder_;
  FolderIdentity identity_;
  bool isOpen_ = true;
};

}  // namespace qrt
