// Which of the processes that were met before are still there.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>

#include "platform/FileDescriptor.h"
#include "platform/linux/authority/PeerIdentity.h"

namespace qrt {

/// Keeps handles of the processes it was asked about, so that asking again costs one system call
/// and not a look into /proc. Thread-safe.
class LivingProcesses {
 public:
  bool contains(const PeerIdentity& process);

 private:
  static constexpr std::size_t maximumKept = 64;

  std::mutex mutex_;
  /// By process number; the identity tells which process of that number is meant.
  struct Kept {
    PeerIdentity identity;
    FileDescriptor handle;
  };
  std::map<std::int32_t, Kept> kept_;
};

}  // namespace qrt
