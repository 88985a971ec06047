// A file that takes another's place in one step.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// The new contents are written beside the file that they replace, which readers see until the end.
/// What was begun and not committed is removed.
class FileReplacement {
 public:
  /// In an open folder, which must stay open. What an earlier attempt left behind is removed. The
  /// new file is for its owner alone until its mode is set.
  static PosixResult<FileReplacement> begin(int folder, const std::string& name);

  FileReplacement(FileReplacement&& other) noexcept = default;
  FileReplacement& operator=(FileReplacement&&) = delete;
  ~FileReplacement();

  PosixCode write(std::span<const std::uint8_t> contents);
  PosixCode setOwner(uid_t user, gid_t group);
  PosixCode setMode(mode_t permissions);
  /// Afterwards the contents are on the disk and the file has its name.
  PosixCode commit();

 private:
  FileReplacement(int folder, const std::string& name);

  int folder_;
  std::string name_;
  std::string temporaryName_;
  FileDescriptor file_;
};

}  // namespace qrt
