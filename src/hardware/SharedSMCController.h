// The one controller object of a process.
#pragma once

#include <memory>
#include <mutex>

#include "hardware/QRTSystemManagementController.h"

namespace qrt {

/// Thread-safe. Exchange and log outlive it.
class SharedSMCController {
 public:
  SharedSMCController(SMCExchange& exchange, Log& log) : exchange_(exchange), log_(log) {}

  /// The controller, which the first call makes. Null if that fails; the next call tries again.
  QRTSystemManagementController* controller() {
    const std::lock_guard lock(mutex_);
    if (!controller_) controller_ = QRTSystemManagementController::init(exchange_, log_);
    return controller_.get();
  }

 private:
  SMCExchange& exchange_;
  Log& log_;
  std::mutex mutex_;
  std::unique_ptr<QRTSystemManagementController> controller_;
};

}  // namespace qrt
