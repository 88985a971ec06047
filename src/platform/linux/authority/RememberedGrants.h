// Rights that a process was granted a short time ago.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/authority/PeerIdentity.h"

namespace qrt {

/// A grant is for one process and one right, and lasts `lifetime`. Only the newest `maximumKept`
/// are remembered; the process of an older one has to be asked again. Thread-safe.
class RememberedGrants {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds lifetime{300};
  static constexpr std::size_t maximumKept = 1024;

  void add(const PeerIdentity& process, const std::string& right,
           Clock::time_point now = Clock::now());
  bool contains(const PeerIdentity& process, const std::string& right,
                Clock::time_point now = Clock::now());
  /// Drops everything that the process was granted.
  void forget(const PeerIdentity& process);

 private:
  struct Grant {
    PeerIdentity process;
    std::string right;
    Clock::time_point end;
  };

  std::mutex mutex_;
  /// The oldest first.
  std::vector<Grant> grants_;
};

}  // namespace qrt
