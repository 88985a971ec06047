// Child programs whose standard streams are pipes.
#pragma once

#include <array>
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
#include "platform/FileDescriptor.h"
#include "platform/StandardStream.h"
#include "protocol/StopRequest.h"

namespace qrt {

class ProgramActivity;

/// How a child's environment differs from this process's: a new value for a variable, or no value
/// to remove it.
using EnvironmentChanges = std::map<std::string, std::optional<std::string>>;

struct ProgramLaunch {
  /// Absolute; it is also the program's own name for itself.
  const std::string& path;
  /// The arguments after that name.
  const std::vector<std::string>& arguments;
  const EnvironmentChanges& environment;
};

/// One run of one program. It has its pipes from the beginning, a process from `launch` to the end
/// of `waitUntilExit`. Used by one thread at a time.
class Subprocess {
 public:
  /// Takes a piece of output; the pieces of a stream arrive in the order they were written. Nothing
  /// is read while it works, so a program whose output is not taken waits at a full pipe.
  using Sink = std::function<void(StandardStream, std::span<const std::uint8_t>)>;

  static constexpr std::size_t maximumPiece = 64 << 10;
  static constexpr std::chrono::seconds drainPatience{2};
  /// The time that a program gets to end by itself.
  static constexpr std::chrono::seconds terminationPatience{5};

  /// Makes the pipes of a run. Fails when descriptors have run out. Thread-safe.
  static PosixResult<std::unique_ptr<Subprocess>> prepare();

  /// Closes the pipes and, when the program was launched but not waited for, waits for its exit.
  ~Subprocess();
  Subprocess(const Subprocess&) = delete;
  Subprocess& operator=(const Subprocess&) = delete;

  /// This process's ends of the pipes. Nothing is ever written to the input.
  int inputHandle() const { return input_.writingEnd.get(); }
  int outputHandle() const { return output_.readingEnd.get(); }
  int errorHandle() const { return error_.readingEnd.get(); }

  /// Starts the program. It inherits the three pipes and no other descriptor. It does not inherit
  /// this process's signal handling, raised limits or activation variables ("LISTEN_...").
  PosixCode launch(const ProgramLaunch& program);

  /// Passes output on until the program ends. Returns its exit status, or the number of the signal
  /// that killed it. A request to stop asks the program to end (SIGTERM), and kills it (SIGKILL)
  /// when it has not ended within `terminationPatience`.
  std::int32_t waitUntilExit(const Sink& sink, const StopRequest& stop);

  /// After the exit: passes on the remaining output until both streams have ended. A process that
  /// the program started may keep them open; after `drainPatience` without output they count as
  /// ended. So they do for a stopped program once `terminationPatience` is over.
  void drain(const Sink& sink);

  /// Whether a signal killed the program.
  bool wasKilled() const { return wasKilled_; }

  /// Whether the program was asked to end.
  bool wasStopped() const { return stoppedAt_.has_value(); }

 private:
  struct Pipe {
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
  };

  using Clock = std::chrono::steady_clock;

  Subprocess();
  void stopChild();
  bool isPatienceOver() const {
    return stoppedAt_ && Clock::now() - *stoppedAt_ >= terminationPatience;
  }
  static bool open(Pipe& pipe);
  bool bothEnded() const { return hasEnded_[0] && hasEnded_[1]; }
  bool passOn(const Sink& sink, std::chrono::milliseconds patience);

  bool wasKilled_ = false;
  Pipe input_;
  Pipe output_;
  Pipe error_;
  /// Through which the child reports why its program did not start.
  Pipe report_;
  /// Its process id; 0 when there is no child.
  std::int32_t child_ = 0;
  /// When the program was asked to end.
  std::optional<Clock::time_point> stoppedAt_;
  /// While the program runs.
  std::unique_ptr<ProgramActivity> activity_;
  /// In the order of `StandardStream`.
  std::array<bool, 2> hasEnded_{};
  std::vector<std::uint8_t> piece_;
};

}  // namespace qrt
