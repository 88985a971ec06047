#include "system/TrustedExecution.h"

#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/Platform.h"
#include "protocol/FeedbackConnection.h"
#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"
#include "system/QRTTaskExecutor.h"

namespace qrt {
namespace {

constexpr const char* safeSearchPath = "/usr/bin:/bin:/usr/sbin:/sbin";

class OutputForwarder : public QRTTaskExecutorDelegate {
 public:
  explicit OutputForwarder(FeedbackConnection* connection) : connection_(connection) {}

  void receiveTaskOutput(Data data, bool isError) override {
    if (!connection_) return;
    connection_->processPrivilegedOperationFeedback(isError ? errorOutputMessage(std::move(data))
                                                            : outputMessage(std::move(data)));
  }

 private:
  FeedbackConnection* connection_;
};

Error unsafePermissions(const std::string& path) {
  return withFilePath(
      privilegedOperationError(
          2,
          "Permission settings for a system utility at the Unix level are unsafe. The command "
          "cannot be executed for security reasons.",
          "Please verify that the executable '$1$' and its parent folder are owned by the "
          "operating "
          "system and cannot be modified by any user.",
          {path}),
      path);
}

Error failedWithStatus(std::int32_t status) {
  return privilegedOperationError(3, "It was not possible to complete the operation successfully.",
                                  "The operating system could not perform the requested operation. "
                                  "It returned error code $1$.",
                                  {std::to_string(status)});
}

}  // namespace

Outcome executeTrusted(const Platform& platform, QRTPrivilegedOperationSetVK2& operationSet,
                       bool trusted, const std::string& systemProgramAtPath,
                       const std::vector<std::string>& withArguments, bool safePathEnvironment,
                       FeedbackConnection* forwardingOutputToConnection) {
  if (!trusted) {
    const auto isSafe =
        QRTTaskExecutor::hasExecutableSafePermissionsAtPath(platform.files, systemProgramAtPath);
    if (!isSafe) {
      return failedWithStatus(
          QRTTaskExecutor::notRunWithoutHandles(platform.log, systemProgramAtPath));
    }
    if (!*isSafe) return unsafePermissions(systemProgramAtPath);
  }

  if (platform.stop.isSet()) return posixError(PosixCode::canceled);

  EnvironmentChanges environment{{"PATH", std::nullopt}};
  if (safePathEnvironment) environment["PATH"] = safeSearchPath;
  operationSet.setOutputConnection(forwardingOutputToConnection);

  OutputForwarder forwarder(forwardingOutputToConnection);
  QRTTaskExecutor executor(platform.log, platform.stop);
  executor.setDelegate(&forwarder);
  executor.setEnvironmentChanges(std::move(environment));
  const auto status = executor.executeProgramAtPath(systemProgramAtPath, withArguments);
  if (executor.wasStopped()) return posixError(PosixCode::canceled);
  if (status != 0) {
    auto error = failedWithStatus(status);
    if (executor.wasKilled()) error.userInfo.emplace(programSignalKey, status);
    return error;
  }
  operationSet.setOutputConnection(nullptr);
  return success;
}

}  // namespace qrt
