#include "system/QRTTaskExecutor.h"

#include <iostream>

#include "base/Path.h"
#include "operations/OperationException.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {
namespace {

constexpr std::uint32_t writableByGroupOrOthers = 022;

bool isOnlyRootsToChange(const FileStatus& status) {
  return status.userID == 0 && status.groupID == 0 && (status.mode & writableByGroupOrOthers) == 0;
}

}  // namespace

PosixResult<bool> QRTTaskExecutor::hasExecutableSafePermissionsAtPath(FileSystem& files,
                                                                      const std::string& path) {
  const auto unsafe = [](PosixCode code) -> PosixResult<bool> {
    if (isExhaustion(code)) return code;
    return false;
  };
  const auto resolved = files.resolvedPath(path);
  if (!resolved) return unsafe(resolved.error());
  const auto location = files.locate(*resolved);
  if (!location) return unsafe(location.error());
  const auto program = files.status(location->at(), Links::stay);
  if (!program) return unsafe(program.error());
  const auto folder = files.status({location->parent, "."}, Links::stay);
  if (!folder) return unsafe(folder.error());
  return !program->isFolder() && isOnlyRootsToChange(*program) && isOnlyRootsToChange(*folder);
}

std::int32_t QRTTaskExecutor::notRunWithoutHandles(Log& log, const std::string& path) {
  log.error(
      "The operation '%{public}@' cannot be executed because the system is running out of file "
      "handles.",
      path::lastComponent(path));
  return notRun;
}

std::int32_t QRTTaskExecutor::executeProgramAtPath(const std::string& path,
                                                   const std::vector<std::string>& withArguments) {
  if (path.empty()) return notRun;
  auto prepared = Subprocess::prepare();
  if (!prepared) return notRunWithoutHandles(log_, path);

  struct Run {
    ~Run() { subTask.reset(); }
    std::unique_ptr<Subprocess>& subTask;
  };
  subTask_ = std::move(*prepared);
  const Run run{subTask_};
  return runSubTask({path, withArguments, environment_});
}

std::int32_t QRTTaskExecutor::runSubTask(const ProgramLaunch& program) {
  if (delegate_) delegate_->taskWillExecute(*this);
  const auto launched = subTask_->launch(program);
  if (launched != PosixCode::success) {
    throw OperationException("NSInvalidArgumentException",
                             "Couldn't posix_spawn: error " + std::to_string(number(launched)));
  }
  if (delegate_) delegate_->taskDidLaunch(*this);

  const auto receiveOutput = [this](StandardStream stream, std::span<const std::uint8_t> piece) {
    processIncomingData({piece.begin(), piece.end()}, stream == StandardStream::error);
  };
  const auto status = subTask_->waitUntilExit(receiveOutput, stop_);
  subTask_->drain(receiveOutput);
  wasStopped_ = subTask_->wasStopped();
  wasKilled_ = subTask_->wasKilled();
  for (const bool isError : {false, true}) processIncomingData({}, isError);
  return status;
}

void QRTTaskExecutor::processIncomingData(Data data, bool asError) {
  if (delegate_) return delegate_->receiveTaskOutput(std::move(data), asError);
  auto& stream = asError ? std::cerr : std::cout;
  stream.write(reinterpret_cast<const char*>(data.data()),
               static_cast<std::streamsize>(data.size()));
  stream.flush();
}

}  // namespace qrt
