// Progress of an operation on standard error.
#pragma once

#include <memory>
#include <string>

namespace qrt {

class Terminal;

class ProgressDisplay {
 public:
  virtual ~ProgressDisplay() = default;

  virtual void setFraction(double fraction) = 0;
  /// Makes room for other output; what moves comes back by itself.
  virtual void makeRoom() = 0;
  /// Ends the display: as done, or as if it had never been.
  virtual void end(bool isDone) = 0;
};

/// A line that moves when standard error is a terminal, else a line for each new tenth.
std::unique_ptr<ProgressDisplay> makeProgressDisplay(Terminal& terminal, const std::string& label);

}  // namespace qrt
