// A daemon that starts when a client needs it.
#pragma once

#include <atomic>
#include <thread>

#include "support/DaemonProcess.h"

namespace qrt::test {

/// Starts the daemon each time a client connects while it does not run, until this is destroyed.
class ActivatedDaemon {
 public:
  ~ActivatedDaemon() {
    isOver_ = true;
    thread_.join();
  }

  std::string socketPath() const { return daemon_.socketPath(); }
  /// How many daemons have ended, and how many of them with a status other than 0.
  long ends() const { return ends_; }
  long failures() const { return failures_; }

 private:
  void serve() {
    while (!isOver_) {
      if (!daemon_.startForClient()) continue;
      failures_ += daemon_.waitForEnd(mostPatience) != 0;
      ++ends_;
    }
  }

  /// In milliseconds; its clients may succeed one another for long.
  static constexpr int mostPatience = 600'000;

  DaemonProcess daemon_{DaemonProcess::onDemand, endsWithItsParent};
  std::atomic<bool> isOver_ = false;
  std::atomic<long> ends_ = 0, failures_ = 0;
  std::thread thread_{[this] { serve(); }};
};

}  // namespace qrt::test
