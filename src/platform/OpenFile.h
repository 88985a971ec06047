// An open regular file.
#pragma once

#include <cstdint>

#include "base/PosixCode.h"
#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/HeldObject.h"

namespace qrt {

/// Holds a file by its descriptor, so changes of its name have no effect. Not thread-safe.
class OpenFile {
 public:
  explicit OpenFile(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  /// Writes all bytes, after those of the last write.
  PosixCode write(const Data& bytes);

  PosixCode setOwner(std::uint32_t userID, std::uint32_t groupID);
  /// The twelve permission bits.
  PosixCode setPermissions(std::uint32_t permissions);

  /// The file as an object; the result may outlive this.
  PosixResult<HeldObject> hold() const;

  /// Returns when contents and attributes are safe from a loss of power.
  PosixCode synchronize();

  /// For system calls below this interface.
  int descriptor() const { return descriptor_.get(); }

 private:
  FileDescriptor descriptor_;
};

}  // namespace qrt
