#include "service/SelfUninstall.h"

#include "operations/NSProcessInfoQRTAdditions.h"
#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/Authority.h"
#include "platform/JobControl.h"
#include "platform/Log.h"
#include "platform/ProcessTable.h"
#include "service/ClientSet.h"
#include "service/ObjectRemoval.h"
#include "system/QRTTaskExecutor.h"

namespace qrt {

Outcome SelfUninstall::performUninstallForClientWithPID(std::int32_t client,
                                                        const std::string& removingObjectsAtPath,
                                                        const std::string& andPath) const {
  auto& log = platform.log;
  if (removingObjectsAtPath.empty() || andPath.empty()) {
    return posixError(PosixCode::invalidArgument);
  }
  if (auto refusal = refusalForOtherClients(client)) return refusal;
  const auto tool = platform.jobControl.removalTool();
  const auto isSafe = QRTTaskExecutor::hasExecutableSafePermissionsAtPath(platform.files, tool);
  if (!isSafe) return posixError(isSafe.error(), tool);
  if (!*isSafe) return posixError(PosixCode::permissionDenied, tool);
  const auto authorization = platform.authority.create();
  if (!authorization) return osStatusError(number(authorization.error()));
  auto failure = deleteFileSystemObjectsWithPaths(platform, {removingObjectsAtPath, andPath});
  if (codeOf(failure) != 0) return failure;

  // Held to the end: a client that registers or leaves now waits until the process has ended.
  const std::lock_guard untilTheEnd(clientSetLock);
  clientSet.remove(client);
  log.info(
      "Processing uninstall request for PID %d. The executable files have been deleted, the point "
      "of no return was passed.",
      client);
  operationSet.removeAuthorizationRightsForImplementedOperationsUsingAuthorization(**authorization);
  log.info("Removed associated right definitions.");
  (*authorization)->free(authorization_flag::none);
  forgetJob();
  terminatePrivilegedHelper();
  return success;
}

/// Processes that have ended do not count. Reads the process table once for any number of clients.
Outcome SelfUninstall::refusalForOtherClients(std::int32_t client) const {
  auto others = registeredClients();
  others.erase(client);
  if (others.empty()) return success;
  const auto processes = platform.processes.processes();
  if (!processes) return success;
  std::set<std::int32_t> working;
  for (const auto& process : *processes) {
    const bool isOther = !process.isZombie && others.contains(process.identifier);
    if (isOther) working.insert(process.identifier);
  }
  for (const auto identifier : working) {
    const auto name = NSProcessInfoQRTAdditions::processNameForProcessID(platform, identifier);
    if (!name) continue;
    platform.log.error(
        "Uninstall request from PID %d was rejected because client '%{public}@' with PID %d is "
        "still working with us.",
        client, *name, identifier);
    return posixError(PosixCode::busy);
  }
  return success;
}

std::set<std::int32_t> SelfUninstall::registeredClients() const {
  const std::lock_guard lock(clientSetLock);
  return clientSet.identifiers();
}

void SelfUninstall::forgetJob() const {
  const auto& job = platform.jobControl;
  const auto identifier = operationSet.serviceIdentifierForHelper();
  for (const auto& arguments : job.removalRuns(identifier)) {
    QRTTaskExecutor executor(platform.log);
    std::int32_t status = QRTTaskExecutor::notRun;
    try {
      status = executor.executeProgramAtPath(job.removalTool(), arguments);
    } catch (const OperationException&) {
      // A tool that cannot be launched counts as failed.
    }
    if (status != 0) {
      platform.log.error("Removal from Launch Services management failed with error code %d.",
                         status);
    }
  }
}

}  // namespace qrt
