// The folder in which the daemon keeps what must outlive it.
#pragma once

#include <span>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// Small files of root, whose names do not begin with a dot. Threads and processes may use it at
/// the same time.
class StateFolder {
 public:
  /// Held while a file is read, changed and replaced; other processes wait.
  using Lock = FileDescriptor;

  /// `maximumBytes` is the largest size of a file.
  explicit StateFolder(std::string path, std::size_t maximumBytes = 1 << 20)
      : path_(std::move(path)), maximumBytes_(maximumBytes) {}

  const std::string& path() const { return path_; }

  PosixResult<Lock> lock();
  /// The two steps of `lock`: the first makes the folder and fails when it cannot be used, the
  /// second waits, without a limit.
  PosixResult<Lock> openLock();
  static PosixCode waitFor(const Lock& lock);

  PosixResult<Data> read(const std::string& name);
  /// Replaces the file in one step: readers see the old contents or the new.
  PosixCode replace(const std::string& name, std::span<const std::uint8_t> contents);
  /// A number that changes with the file; 0 when the file is missing.
  std::uint64_t version(const std::string& name);

 private:
  PosixResult<FileDescriptor> open();

  std::string path_;
  std::size_t maximumBytes_;
};

}  // namespace qrt
