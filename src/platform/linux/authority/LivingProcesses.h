// Whether processes still run.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include "platform/FileDescriptor.h"
#include "platform/linux/authority/PeerIdentity.h"

namespace qrt {

/// Keeps handles of the processes that it was asked about, so that the next question costs one
/// system call and needs no file of /proc. Thread-safe.
class LivingProcesses {
 public:
  bool contains(const PeerIdentity& process);

 private:
  static constexpr std::size_t maximumKept = 64;

  std::mutex mutex_;
  /// By process number. A number may be used again, so the identity is kept with the handle.
  struct Kept {
    PeerIdentity identity;
    FileDescriptor handle;
  };
  std::map<std::int32_t, Kept> kept_;
};

}  // namespace qrt
