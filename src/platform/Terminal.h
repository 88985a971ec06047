// The standard streams and the controlling terminal of a command-line program.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/PosixCode.h"
#include "platform/StandardStream.h"

namespace qrt {

/// Thread-safe.
class Terminal {
 public:
  virtual ~Terminal() = default;

  /// True when the stream is a terminal, so that a user may read it.
  virtual bool isTerminal(StandardStream stream) const = 0;

  /// The width of the terminal in characters; 80 when it is not known.
  virtual std::size_t columns() const = 0;

  /// Writes all bytes, unbuffered, and waits for a slow reader. False when they cannot be
  /// written.
  virtual bool write(StandardStream stream, std::string_view bytes) = 0;

  /// Why the last write to standard output failed.
  virtual PosixCode outputFailure() const = 0;

  /// From now on `write` does not wait: bytes that the reader is too slow for are not written, and
  /// `write` returns false. Async-signal-safe.
  virtual void stopWaiting() = 0;

  /// True when standard input is a terminal.
  virtual bool isInputTyped() const = 0;

  /// Reads a line of standard input, without its end; no value at the end of the input.
  virtual std::optional<std::string> readLine() = 0;

  /// True when this process has a controlling terminal, wherever its standard streams go.
  virtual bool canAsk() const = 0;

  /// Writes a question to the controlling terminal and reads the line that the user types there,
  /// without its end. No value at the end of the input.
  virtual std::optional<std::string> ask(std::string_view question) = 0;
};

}  // namespace qrt
