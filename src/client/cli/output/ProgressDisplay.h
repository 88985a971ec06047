// Progress of an operation on standard error.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

namespace qrt {

class Terminal;

/// How progress is shown.
enum class ProgressForm { none, lines, redrawn };

class ProgressDisplay {
 public:
  virtual ~ProgressDisplay() = default;

  /// From 0 to 1.
  virtual void setFraction(double fraction) = 0;
  /// Adds to the number of objects that a search has found.
  virtual void addFound(std::size_t count) = 0;
  /// Removes the line before other output. The next tick draws it again.
  virtual void makeRoom() = 0;
  /// Ends the display: with a summary after a long run that is done, else without a trace.
  virtual void end(bool isDone) = 0;
};

/// A line that is redrawn in place, or a line for each new tenth; null for no progress.
/// `isStopping` outlives the display.
std::unique_ptr<ProgressDisplay> makeProgressDisplay(ProgressForm form, Terminal& terminal,
                                                     const std::string& label,
                                                     const std::atomic<bool>& isStopping);

}  // namespace qrt
