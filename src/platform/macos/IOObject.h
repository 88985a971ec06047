// Owners of handles of the I/O Kit.
#pragma once

#include <IOKit/IOKitLib.h>

#include <utility>

#include "platform/KernelReturn.h"

namespace qrt {

/// The system's own codes are those of the contract.
inline KernelReturn kernelReturn(kern_return_t code) { return static_cast<KernelReturn>(code); }

/// Releases its handle with `close` in its destructor.
template <class Handle, kern_return_t (*close)(Handle)>
class IOOwner {
 public:
  IOOwner() = default;
  explicit IOOwner(Handle handle) : handle_(handle) {}
  IOOwner(IOOwner&& other) noexcept : handle_(std::exchange(other.handle_, IO_OBJECT_NULL)) {}
  IOOwner& operator=(IOOwner&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~IOOwner() {
    if (handle_ != IO_OBJECT_NULL) close(handle_);
  }

  explicit operator bool() const { return handle_ != IO_OBJECT_NULL; }
  Handle get() const { return handle_; }

  /// For a function that stores a handle. The owner must be empty.
  Handle* receiver() { return &handle_; }

 private:
  Handle handle_ = IO_OBJECT_NULL;
};

/// An object of the registry, or an iterator over some.
using IOObject = IOOwner<io_object_t, IOObjectRelease>;

/// An open connection to a driver.
using IOConnection = IOOwner<io_connect_t, IOServiceClose>;

}  // namespace qrt
