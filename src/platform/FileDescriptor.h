// Owner of a file descriptor.
#pragma once

#include <utility>

namespace qrt {

/// Closes its descriptor in its destructor. -1 means that it owns no descriptor.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~FileDescriptor() { reset(); }

  explicit operator bool() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }
  int release() { return std::exchange(descriptor_, -1); }
  void reset(int descriptor = -1);

 private:
  int descriptor_ = -1;
};

}  // namespace qrt
