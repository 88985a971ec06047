#include "software/InstallMediaOperations.h"

#include "operations/Arguments.h"
#include "operations/NSProcessInfoQRTAdditions.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"
#include "software/OSInstallAppValidator.h"
#include "system/TrustedExecution.h"

namespace qrt {
namespace {

/// Since 10.13 the tool finds its own installer.
constexpr std::int64_t versionWithShortForm = 0x10D0;

Error invalidInstaller(const std::string& path) {
  return withFilePath(
      privilegedOperationError(
          18, "The installer App is invalid or not authentic.",
          "Please select a valid copy of an operating system installer from the App Store."),
      path);
}

Error invalidVolume(const std::string& path) {
  return withFilePath(
      privilegedOperationError(19, "The destination volume is invalid.",
                               "Please select a valid storage medium onto which the operating "
                               "system should be copied."),
      path);
}

bool isMountPoint(const std::string& path, Volumes& volumes) {
  const auto mountPoint = volumes.mountPoint(path);
  return mountPoint && !mountPoint->empty() && *mountPoint == path;
}

}  // namespace

Outcome performOperationCreateInstallmediaWithArguments(QRTPrivilegedOperationSetVK2& operationSet,
                                                        const Platform& platform,
                                                        const Array& arguments,
                                                        FeedbackConnection* feedback) {
  if (arguments.size() != 2) return posixError(PosixCode::invalidArgument);
  const auto [installer, volume] = unpack<std::string, std::string>(arguments);
  const auto validator = OSInstallAppValidator::initWithURL({"file", installer}, platform);
  if (!validator || !validator->isAuthentic()) return invalidInstaller(installer);
  if (!isMountPoint(volume, platform.volumes)) return invalidVolume(volume);

  std::vector<std::string> toolArguments{"--volume", volume, "--nointeraction"};
  const auto version = NSProcessInfoQRTAdditions::operatingSystemVersionCode(platform);
  if (version < versionWithShortForm) {
    toolArguments.insert(toolArguments.begin(), {"--applicationpath", installer});
  }
  constexpr bool isTrusted = true;
  constexpr bool safePathEnvironment = false;
  return executeTrusted(platform, operationSet, isTrusted, *validator->mediaUtilityPath(),
                        toolArguments, safePathEnvironment, feedback);
}

}  // namespace qrt
