// A hold on a file-system object.
#pragma once

#include <cstdint>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Resolves a name once and then stands for the object that was found there, through a descriptor
/// for reading. A link that is not followed is held itself. Taking hold blocks on no FIFO; sockets
/// and devices are `notSupported`, because a driver would get to know of it.
class ObjectHandle {
 public:
  static PosixResult<ObjectHandle> open(FileAt object, Links links);

  /// Type bits (`file_type`).
  std::uint32_t type() const { return type_; }

  int descriptor() const { return descriptor_.get(); }

  FileDescriptor takeDescriptor() && { return std::move(descriptor_); }

 private:
  ObjectHandle(FileDescriptor descriptor, std::uint32_t type)
      : descriptor_(std::move(descriptor)), type_(type) {}

  FileDescriptor descriptor_;
  std::uint32_t type_;
};

}  // namespace qrt
