// How many log lines one user may cause.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace qrt {

/// A user has `burst` lines, which come back at `linesPerSecond`. A user without any is silenced
/// until at least `linesPerSecond` have come back; then the number of lines that were dropped is
/// due. Root has no limit. Thread-safe.
class LogAllowance {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr double linesPerSecond = 100;
  static constexpr double burst = 1000;

  /// Takes one line from the user's allowance. False when the line must not be written.
  [[nodiscard]] bool admits(std::uint32_t user, Clock::time_point now = Clock::now());

  /// Counts lines that were not written after all.
  void addDropped(std::uint32_t user, std::uint64_t count);

  struct Report {
    std::uint32_t user;
    std::uint64_t dropped;
    friend bool operator==(const Report&, const Report&) = default;
  };

  /// The counts that are due; each is handed out once and costs its user a line. Looks no more than
  /// once a second.
  std::vector<Report> takeReports(Clock::time_point now = Clock::now());

  /// All counts, due or not, for the end of the service.
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
  /// Users with a full account have none here.
  std::map<std::uint32_t, Account> accounts_;
  Clock::time_point nextLook_;
};

}  // namespace qrt
