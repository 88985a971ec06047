#include "system/UtilityOperations.h"

#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "system/TrustedExecution.h"
#include "system/TrustedUtilities.h"

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

}  // namespace

Outcome performOperationExecuteUtilityWithArguments(QRTPrivilegedOperationSetVK2& operationSet,
                                                    const TrustedUtilities& utilities,
                                                    const Platform& platform,
                                                    const Array& arguments,
                                                    FeedbackConnection* feedback) {
  if (arguments.size() < 2) return posixError(PosixCode::invalidArgument);
  const auto [applicationPath, utilityName] = unpack<std::string, std::string>(arguments);
  bool isExternal = false;
  bool needsSafePathEnvironment = false;
  const auto path = utilities.trustedPathForApplicationPath(applicationPath, utilityName,
                                                            &isExternal, &needsSafePathEnvironment);
  if (!path) return posixError(PosixCode::invalidArgument);
  if (!isFile(platform.files, *path)) return componentMissing(utilityName, *path);

  std::vector<std::string> utilityArguments;
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    utilityArguments.push_back(*arguments[i].string());
  }
  return executeTrusted(platform, operationSet, !isExternal, *path, utilityArguments,
                        needsSafePathEnvironment, feedback);
}

}  // namespace qrt
