// Running one external program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "platform/Subprocess.h"

namespace qrt {

class FileSystem;
class Log;
class QRTTaskExecutor;

/// Called on the thread that runs the program.
class QRTTaskExecutorDelegate {
 public:
  virtual ~QRTTaskExecutorDelegate() = default;

  /// Gets each piece of output at once, in the order of its stream. The last piece of each stream
  /// is empty. The program waits while this runs.
  virtual void receiveTaskOutput(Data data, bool isError) = 0;

  virtual void taskWillExecute(QRTTaskExecutor&) {}
  virtual void taskDidLaunch(QRTTaskExecutor&) {}
};

/// Runs one program at a time, on the caller's thread.
class QRTTaskExecutor {
 public:
  /// The status of a program that could not be run.
  static constexpr std::int32_t notRun = -1;

  /// `stop` ends a program that runs, see `Subprocess::waitUntilExit`.
  explicit QRTTaskExecutor(Log& log, const StopRequest& stop = StopRequest::never())
      : log_(log), stop_(stop) {}

  /// True if only root can replace the program: the path leads to a file of root and group 0 that
  /// group and others cannot write, in such a folder. An error only if descriptors or memory have
  /// run out.
  static PosixResult<bool> hasExecutableSafePermissionsAtPath(FileSystem& files,
                                                              const std::string& path);

  /// Logs that a program cannot run without descriptors. Returns `notRun`.
  static std::int32_t notRunWithoutHandles(Log& log, const std::string& path);

  /// Not owned. Without a delegate the output goes to this process's standard streams.
  void setDelegate(QRTTaskExecutorDelegate* delegate) { delegate_ = delegate; }
  /// For the programs that run after the call.
  void setEnvironmentChanges(EnvironmentChanges changes) { environment_ = std::move(changes); }

  /// Returns the program's exit status, or the number of the signal that killed it, after the
  /// program has ended and its output has been received; `notRun` without a path or without
  /// descriptors for its pipes. Throws an `OperationException` if the program cannot be launched.
  std::int32_t executeProgramAtPath(const std::string& path,
                                    const std::vector<std::string>& withArguments);

  /// Whether the last program was stopped.
  bool wasStopped() const { return wasStopped_; }
  /// Whether a signal killed the last program.
  bool wasKilled() const { return wasKilled_; }

  /// This process's ends of the pipes while a program runs, else -1.
  int subTaskInputHandle() const { return subTask_ ? subTask_->inputHandle() : -1; }
  int subTaskOutputHandle() const { return subTask_ ? subTask_->outputHandle() : -1; }
  int subTaskErrorHandle() const { return subTask_ ? subTask_->errorHandle() : -1; }

 private:
  std::int32_t runSubTask(const ProgramLaunch& program);
  void processIncomingData(Data data, bool asError);

  Log& log_;
  const StopRequest& stop_;
  bool wasStopped_ = false;
  bool wasKilled_ = false;
  QRTTaskExecutorDelegate* delegate_ = nullptr;
  EnvironmentChanges environment_;
  std::unique_ptr<Subprocess> subTask_;
};

}  // namespace qrt
