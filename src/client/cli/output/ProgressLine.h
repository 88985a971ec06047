// The line of a terminal that shows the progress of an operation.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace qrt {

class Terminal;

/// Redrawn in place on standard error, at most ten times a second and only when it changes. It is
/// shorter than the terminal is wide, so that it never wraps. An operation that ends within the
/// first interval shows nothing.
class ProgressLine {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::milliseconds shortestInterval{100};

  ProgressLine(Terminal& terminal, std::string label, TimePoint start);

  /// From 0 to 1.
  void setFraction(double fraction, TimePoint now);

  /// Updates the elapsed time.
  void tick(TimePoint now);

  /// Removes the line. The next `tick` draws it again.
  void hide();

  /// Leaves the line at 100 % if it was ever shown.
  void finish(TimePoint now);

 private:
  /// False when the line is already up to date.
  bool draw(TimePoint now);
  /// The number of characters that the line may have.
  std::size_t room() const;
  std::string content(TimePoint now) const;

  Terminal& terminal_;
  std::string label_;
  TimePoint start_;
  TimePoint nextDraw_;
  double fraction_ = 0;
  /// The characters on the line; empty when the line is hidden.
  std::string shown_;
  bool wasEverShown_ = false;
};

}  // namespace qrt
