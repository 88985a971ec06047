// How many log lines one user may cause.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace qrt {

/// A user has `burst` lines, which refill at `linesPerSecond`. A user without lines is silenced
/// until `linesPerSecond` have been refilled; then the number of dropped lines is due. Root has no
/// limit. Thread-safe.
class LogAllowance {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr double linesPerSecond = 100;
  static constexpr double burst = 1000;

  /// Takes one line from the user's allowance. False if the line must not be written.
  [[nodiscard]] bool admits(std::uint32_t user, Clock::time_point now = Clock::now());

  /// Counts lines that were not written.
  void addDropped(std::uint32_t user, std::uint64_t count);

  struct Report {
    std::uint32_t user;
    std::uint64_t dropped;
    friend bool operator==(const Report&, const Report&) = default;
  };

  /// The counts that are due. Each is returned once and takes a line from its user. Returns counts
  /// at most once a second.
  std::vector<Report> takeReports(Clock::time_point now = Clock::now());

  /// All counts, due or not. For the end of the service.
  std::vector<Report> takeAllReports();

 private:
  struct Account {
    double lines = burst;
    Clock::time_point counted;
    bool isSilenced = false;
    std::uint64_t dropped = 0;
  };

  static void refill(Account& account, Clock::time_point now);

  std::mutex mutex_;
  /// Without the users whose account is full.
  std::map<std::uint32_t, Account> accounts_;
  Clock::time_point nextLook_;
};

}  // namespace qrt
