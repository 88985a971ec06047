// The line of a terminal that shows the progress of an operation.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qrt {

class Terminal;

/// Redrawn in place on standard error, at most ten times a second and only when it changes. It is
/// shorter than the terminal is wide, so that it never wraps. An operation that ends within the
/// first interval shows nothing.
///
/// A bar is shown while the progress moves. Some operations report none for a long time or at all:
/// then the line shows what is known, and the time always runs.
class ProgressLine {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::milliseconds shortestInterval{100};
  /// Progress that has not changed for so long has no bar.
  static constexpr std::chrono::seconds standstill{3};
  /// Of a run that leaves a line about itself.
  static constexpr std::chrono::seconds longRun{2};

  /// The line says so when the operation is being stopped.
  ProgressLine(Terminal& terminal, std::string label, TimePoint start,
               const std::atomic<bool>& isStopping);

  /// From 0 to 1.
  void setFraction(double fraction, TimePoint now);

  /// Adds to the number of objects that a search has found.
  void addFound(std::size_t count) { found_ += count; }

  /// Updates the elapsed time.
  void tick(TimePoint now);

  /// Removes the line. The next `tick` draws it again.
  void hide();

  /// Replaces the line by a summary if the run was long.
  void finish(TimePoint now);

 private:
  /// False when the line is already up to date.
  bool draw(TimePoint now);
  /// The number of characters that the line may have.
  std::size_t room() const;
  bool isPartKnown() const;
  std::string figures(TimePoint now) const;
  std::string content(TimePoint now) const;

  Terminal& terminal_;
  std::string label_;
  TimePoint start_;
  TimePoint nextDraw_;
  const std::atomic<bool>& isStopping_;
  double fraction_ = 0;
  /// When the fraction last changed.
  TimePoint moved_;
  std::uint64_t found_ = 0;
  /// The characters on the line; empty when the line is hidden.
  std::string shown_;
};

}  // namespace qrt
