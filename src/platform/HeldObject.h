// A hold on a file-system object, whatever kind of object it is.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/FileStatus.h"
#include "platform/Folder.h"

namespace qrt {

/// The very object that was found under a name, whatever has that name by now. To look at an object
/// and then change it takes a hold: between two calls by name the object may be exchanged. See
/// `FileSystem::hold`.
///
/// Taking hold reaches no driver, blocks on no FIFO and, where the system can, needs no right to
/// read. Thread-safe.
class HeldObject {
 public:
  /// By the object's own descriptor; or, where the system opens no objects of its kind, by that of
  /// its folder and its name there.
  explicit HeldObject(FileDescriptor descriptor, std::string name = {})
      : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

  PosixResult<FileStatus> status() const;

  PosixCode setOwner(std::uint32_t userID, std::uint32_t groupID) const;
  /// Sets the twelve permission bits. Where links have none of their own they are `notSupported`.
  PosixCode setPermissions(std::uint32_t permissions) const;
  /// Gives it the BSD flags `wanted`, as `FileSystem::setFlags` does; `seen` is its status as just
  /// read.
  PosixCode setFlags(const FileStatus& seen, std::uint32_t wanted) const;

  /// Sets the times of access and modification to now, or to those of another object.
  PosixCode touch() const;
  PosixCode setTimesOf(const HeldObject& model) const;
  /// Sets the time of creation to that of another object, where a file system lets it be set.
  PosixCode setCreationTimeOf(const HeldObject& model) const;

  /// For system calls below this interface.
  int descriptor() const { return descriptor_.get(); }
  /// Empty when the descriptor is the object's own.
  const std::string& name() const { return name_; }

 private:
  FileDescriptor descriptor_;
  std::string name_;
};

}  // namespace qrt
