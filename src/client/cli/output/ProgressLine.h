// The line of a terminal on which the progress of an operation moves.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace qrt {

class Terminal;

/// Redrawn in place on standard error, at most ten times a second and only when it changes; shorter
/// than the terminal is wide, so that it never wraps. An operation that ends at once shows nothing.
class ProgressLine {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::milliseconds shortestInterval{100};

  ProgressLine(Terminal& terminal, std::string label, TimePoint start);

  /// From 0 to 1; anything else is brought there.
  void setFraction(double fraction, TimePoint now);

  /// Lets the elapsed time go on.
  void tick(TimePoint now);

  /// Takes the line away, for other output or for good. The next `tick` brings it back.
  void hide();

  /// Leaves the line as it is at the end of all work, if it was ever shown.
  void finish(TimePoint now);

 private:
  /// False when the line already shows what it should.
  bool draw(TimePoint now);
  /// Characters that the line may take.
  std::size_t room() const;
  std::string content(TimePoint now) const;

  Terminal& terminal_;
  std::string label_;
  TimePoint start_;
  TimePoint nextDraw_;
  double fraction_ = 0;
  /// What stands on the line; empty when it is hidden.
  std::string shown_;
  bool wasEverShown_ = false;
};

}  // namespace qrt
