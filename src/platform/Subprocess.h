// Child programs whose standard streams are pipes.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Result.h"
#include "platform/StandardStream.h"

namespace qrt {

/// What a child's environment has different from this process's: a new value, or none for a
/// variable that the child shall not have.
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

struct ProgramLaunch {
  /// Absolute; it is also the program's own name for itself.
  const std::string& path;
  /// What follows that name.
  const std::vector<std::string>& arguments;
  const EnvironmentChanges& environment;
};

/// One run of one program. It has its pipes from the beginning, a process from `launch` to the end
/// of `waitUntilExit`. Used by one thread at a time.
class Subprocess {
 public:
  /// Takes a piece of output; the pieces of a stream come in the order they were written. Nothing
  /// is read while it works, so a program whose output nobody takes waits at a full pipe.
  using Sink = std::function<void(StandardStream, std::span<const std::uint8_t>)>;

  static constexpr std::size_t maximumPiece = 64 << 10;
  static constexpr std::chrono::seconds drainPatience{2};

  /// Closes the pipes, and waits for a program that was not waited for.
  virtual ~Subprocess() = default;

  /// This process's ends of the pipes. Nothing is ever written to the input.
  virtual int inputHandle() const = 0;
  virtual int outputHandle() const = 0;
  virtual int errorHandle() const = 0;

  /// Starts the program. It inherits the three pipes and no other descriptor, and neither this
  /// process's signal handling nor its raised limits nor what activated it ("LISTEN_...").
  virtual PosixCode launch(const ProgramLaunch& program) = 0;

  /// Passes output on until the program has ended. Its exit status, or the number of the signal
  /// that killed it.
  virtual std::int32_t waitUntilExit(const Sink& sink) = 0;

  /// After the exit: passes on what is left until both streams have ended. A process that the
  /// program left behind may hold them open for ever; `drainPatience` without output is an end as
  /// well.
  virtual void drain(const Sink& sink) = 0;
};

/// Thread-safe.
class SubprocessFacility {
 public:
  virtual ~SubprocessFacility() = default;

  /// The pipes of a run to come.
  virtual PosixResult<std::unique_ptr<Subprocess>> prepare() = 0;
};

}  // namespace qrt
