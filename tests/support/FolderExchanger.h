// Somebody who exchanges two objects all the time.
#pragma once

#include <fcntl.h>
#include <stdio.h>

#include <atomic>
#include <string>
#include <thread>

namespace qrt::test {

/// Is at it, in a thread of its own, from when it is made until it goes. Either object may go
/// before.
class FolderExchanger {
 public:
  FolderExchanger(std::string first, std::string second)
      : first_(std::move(first)), second_(std::move(second)) {
    while (!hasBegun_) std::this_thread::yield();
  }
  FolderExchanger(const FolderExchanger&) = delete;
  FolderExchanger& operator=(const FolderExchanger&) = delete;
  ~FolderExchanger() {
    isOver_ = true;
    thread_.join();
  }

  /// How often it has succeeded so far.
  int exchanges() const { return exchanges_; }

 private:
  bool exchange() {
#ifdef __APPLE__
    return renamex_np(first_.c_str(), second_.c_str(), RENAME_SWAP) == 0;
#else
    return renameat2(AT_FDCWD, first_.c_str(), AT_FDCWD, second_.c_str(), RENAME_EXCHANGE) == 0;
#endif
  }

  const std::string first_;
  const std::string second_;
  std::atomic<int> exchanges_ = 0;
  std::atomic<bool> hasBegun_ = false;
  std::atomic<bool> isOver_ = false;
  std::thread thread_{[this] {
    while (!isOver_) {
      exchanges_ += exchange();
      hasBegun_ = true;
    }
  }};
};

}  // namespace qrt::test
