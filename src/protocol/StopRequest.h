// The wish of a requestor that its operation ends.
#pragma once

#include <atomic>

namespace qrt {

/// Set once, by the requestor's connection; asked by the work. Asking costs no system call, so a
/// loop asks for each object. Work that ends early because of it fails with `PosixCode::canceled`.
/// Thread-safe.
class StopRequest {
 public:
  StopRequest() = default;
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;

  void set() { isSet_.store(true, std::memory_order_relaxed); }
  bool isSet() const { return isSet_.load(std::memory_order_relaxed); }

  /// Of work that no requestor can stop.
  static const StopRequest& never() {
    static const StopRequest request;
    return request;
  }

 private:
  std::atomic<bool> isSet_ = false;
};

}  // namespace qrt
