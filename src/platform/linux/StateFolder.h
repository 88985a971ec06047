// The folder in which the daemon keeps what must outlive it.
#pragma once

#include <span>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// Small files that only root may touch; their names do not begin with a dot. Thread-safe, and safe
/// against another process that does the same.
class StateFolder {
 public:
  /// Held while a file is read, changed and replaced; other processes wait.
  using Lock = FileDescriptor;

  explicit StateFolder(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }

  PosixResult<Lock> lock();
  /// A file of at most 1 MiB, which is what `replace` makes.
  PosixResult<Data> read(const std::string& name);
  /// Replaces the file in one step: readers see the old contents or the new.
  PosixCode replace(const std::string& name, std::span<const std::uint8_t> contents);
  /// Changes whenever the file does; 0 when there is none.
  std::uint64_t version(const std::string& name);

 private:
  PosixResult<FileDescriptor> open();

  std::string path_;
};

}  // namespace qrt
