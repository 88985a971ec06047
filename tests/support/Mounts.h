// File systems that a test mounts for itself.
#pragma once

#include "support/ScratchFolder.h"

namespace qrt::test {

/// A mount that ends with the test. `isMounted()` is false without the right to mount, without the
/// file system's tools, and for a kind that the system does not have.
class Mount {
 public:
  /// `plainMemory` keeps no flags.
  enum class Kind { memory, plainMemory, ext4, xfs, btrfs };

  Mount(Kind kind, const std::string& on);
  Mount(const Mount&) = delete;
  Mount& operator=(const Mount&) = delete;
  ~Mount();

  bool isMounted() const { return isMounted_; }

  bool makeReadOnly() const;

 private:
  const std::string on_;
  /// A disk in memory, where the system needs one.
  std::string device_;
  bool isMounted_ = false;
};

}  // namespace qrt::test
