// A hold on a file-system object, whatever kind of object it is.
#pragma once

#include <cstdint>
#include <utility>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/FileStatus.h"

namespace qrt {

/// Stands for the very object that was found under a name: what is put in its place meanwhile does
/// not matter. Looking at an object and changing it by what was seen takes a hold; names alone let
/// somebody exchange the object in between. See `FileSystem::hold`.
///
/// Taking hold reaches no driver, blocks on no FIFO and, where the system can, needs no right to
/// read. Thread-safe.
class HeldObject {
 public:
  explicit HeldObject(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  PosixResult<FileStatus> status() const;

  PosixCode setOwner(std::uint32_t userID, std::uint32_t groupID) const;
  /// Sets the twelve permission bits. Where links have none of their own they are `notSupported`.
  PosixCode setPermissions(std::uint32_t permissions) const;

  /// For system calls below this interface.
  int descriptor() const { return descriptor_.get(); }

 private:
  FileDescriptor descriptor_;
};

}  // namespace qrt
