// A hold on a file-system object of any kind.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/FileStatus.h"
#include "platform/Folder.h"

namespace qrt {

/// Refers to one object even when its name begins to mean another one. Code that looks at an object
/// and then changes it needs a hold: between two calls by name the object can be exchanged. Made by
/// `FileSystem::hold`, which calls no device driver, does not block on a FIFO and, where the system
/// can, needs no right to read. Thread-safe.
class HeldObject {
 public:
  /// By the object's own descriptor; or, where the system opens no objects of its kind, by that of
  /// its folder and its name there.
  explicit HeldObject(FileDescriptor descriptor, std::string name = {})
      : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

  PosixResult<FileStatus> status() const;
  /// Whether its mount refuses changes.
  bool isReadOnly() const;

  PosixCode setOwner(std::uint32_t userID, std::uint32_t groupID) const;
  /// Sets the twelve permission bits. `notSupported` for links on systems where links have no
  /// permission bits.
  PosixCode setPermissions(std::uint32_t permissions) const;
  /// Gives it the BSD flags `wanted`, as `FileSystem::setFlags` does; `seen` is its status as just
  /// read.
  PosixCode setFlags(const FileStatus& seen, std::uint32_t wanted) const;

  /// Sets the times of access and modification to now, or to those of another object.
  PosixCode touch() const;
  PosixCode setTimesOf(const HeldObject& model) const;
  /// Sets the time of creation to that of another object, where the file system supports that.
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
