// A hold on a file-system object, whatever kind of object it is.
#pragma once

#include <cstdint>
#include <string>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"

namespace qrt {

/// Opens a regular file or folder that a descriptor merely holds.
PosixResult<FileDescriptor> openForReading(int object);

/// Resolves a name once and then stands for the object that was found there. Taking hold reaches no
/// driver, blocks on no FIFO and needs no right to read.
class ObjectHandle {
 public:
  static PosixResult<ObjectHandle> open(FileAt object, Links links);

  /// Type bits (`file_type`).
  std::uint32_t type() const { return type_; }

  /// A path to the very object, for calls that do not take such a handle. Only regular files and
  /// folders should be opened through it.
  std::string path() const;

  PosixResult<FileDescriptor> openForReading() const {
    return qrt::openForReading(descriptor_.get());
  }

  FileDescriptor takeDescriptor() && { return std::move(descriptor_); }

 private:
  ObjectHandle(FileDescriptor descriptor, std::uint32_t type)
      : descriptor_(std::move(descriptor)), type_(type) {}

  FileDescriptor descriptor_;
  std::uint32_t type_;
};

}  // namespace qrt
