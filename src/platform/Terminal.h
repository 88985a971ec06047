// The standard streams of a command-line program.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/StandardStream.h"

namespace qrt {

/// Thread-safe.
class Terminal {
 public:
  virtual ~Terminal() = default;

  /// True when a person may be looking at the stream.
  virtual bool isTerminal(StandardStream stream) const = 0;

  /// Width of the terminal in characters; 80 when it does not tell.
  virtual std::size_t columns() const = 0;

  /// Writes all bytes, unbuffered, and waits for whoever reads them. False when nobody can read
  /// them any more.
  virtual bool write(StandardStream stream, std::string_view bytes) = 0;

  /// From now on nobody is waited for: what a reader is too slow for is not written, and that is
  /// false as well. Async-signal-safe.
  virtual void stopWaiting() = 0;

  /// True when a person can read a question on standard error and type the answer.
  virtual bool canAsk() const = 0;

  /// The line that is typed, without its end; none when nothing more will be typed.
  virtual std::optional<std::string> readLine() = 0;
};

}  // namespace qrt
