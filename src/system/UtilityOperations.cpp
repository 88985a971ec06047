#include "system/UtilityOperations.h"

#include "operations/PrivilegedOperationError.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "system/TrustedExecution.h"

namespace qrt {
namespace {

bool isFile(FileSystem& files, const std::string& path) {
  const auto status = files.status(path.c_str(), Links::follow);
  return status && !status->isFolder();
}

Error componentMissing(const std::string& utilityName, const std::string& path) {
  return withFilePath(
      privilegedOperationError(
          1, "A required component of macOS is missing in your system installation.",
          "Please verify that the UNIX program $1$ is present at its standard path '$2$'.",
          {utilityName, path}),
      path);
}

Outcome performOperationExecuteUtilityWithArguments(const Array& arguments,
                                                    FeedbackConnection* feedbackConnection,
                                                    const Platform& platform,
                                                    QRTPrivilegedOperationSetVK2& operationSet,
                                                    const TrustedUtilities& utilities) {
  if (arguments.size() < 2) return posixError(PosixCode::invalidArgument);
  const auto& utilityName = *arguments[1].string();
  bool isExternal = false;
  bool needsSafePathEnvironment = false;
  const auto path = utilities.trustedPathForApplicationPath(*arguments[0].string(), utilityName,
                                                            &isExternal, &needsSafePathEnvironment);
  if (!path) return posixError(PosixCode::invalidArgument);
  if (!isFile(platform.files, *path)) return componentMissing(utilityName, *path);

  std::vector<std::string> utilityArguments;
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    utilityArguments.push_back(*arguments[i].string());
  }
  return executeTrusted(platform, operationSet, !isExternal, *path, utilityArguments,
                        needsSafePathEnvironment, feedbackConnection);
}

}  // namespace

void registerUtilityHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet,
                             TrustedUtilities utilities) {
  handlers.add("performOperationExecuteUtilityWithArguments:feedbackConnection:",
               [&operationSet, utilities = std::move(utilities)](
                   const Platform& platform, const Array& arguments,
                   FeedbackConnection* feedbackConnection) {
                 return performOperationExecuteUtilityWithArguments(
                     arguments, feedbackConnection, platform, operationSet, utilities);
               });
}

}  // namespace qrt
