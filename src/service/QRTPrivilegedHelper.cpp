#include "service/QRTPrivilegedHelper.h"

#include <cstdlib>

#include "operations/Arguments.h"
#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/Log.h"
#include "platform/SelfProcess.h"
#include "service/ObjectRemoval.h"
#include "service/RequestLog.h"
#include "service/SelfUninstall.h"

namespace qrt {
namespace {

QRTPrivilegedHelper* sharedHelper = nullptr;

}  // namespace

QRTPrivilegedHelper* QRTPrivilegedHelper::privilegedHelper() { return sharedHelper; }

QRTPrivilegedHelper& QRTPrivilegedHelper::init() {
  if (!sharedHelper) sharedHelper = new QRTPrivilegedHelper;
  return *sharedHelper;
}

QRTPrivilegedHelper* QRTPrivilegedHelper::initForOperationSet(
    const QRTPrivilegedOperationSet* operationSet, const Platform& platform) {
  auto& helper = init();
  if (!operationSet) return nullptr;
  helper.platform_.emplace(platform);
  helper.operationSet_ = operationSet;
  helper.pipeline_ = std::make_unique<RequestPipeline>(
      *operationSet, *helper.platform_, helper.logAllowance_, helper.internalOperations());
  helper.listener_ = platform.transport.makeListener(operationSet->serviceIdentifierForHelper());
  helper.listener_->setDelegate(helper);
  platform.log.info("Activated helper version %{public}@, implementing operation set '%{public}@'.",
                    operationSet->implementationVersion(), operationSet->implementationCode());
  return &helper;
}

RequestPipeline::InternalOperations QRTPrivilegedHelper::internalOperations() {
  const auto nothingToDo = [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
    return success;
  };
  const auto withoutEffect = [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
    return posixError(PosixCode::notImplemented);
  };
  const auto deleteFiles = [](const Platform& platform, const Array& paths, FeedbackConnection*) {
    return deleteFileSystemObjectsWithPaths(platform, paths);
  };
  const auto performUninstall = [this](const Platform& platform, const Array& arguments,
                                       FeedbackConnection*) {
    const auto [client, program, job] = unpack<Number, std::string, std::string>(arguments);
    const SelfUninstall uninstall{platform, operationSet(), clientSet(), clientSetLock(),
                                  [this] { terminatePrivilegedHelper(); }};
    return uninstall.performUninstallForClientWithPID(static_cast<std::int32_t>(client.asInt64()),
                                                      program, job);
  };
  return {{operation_code::nop, nothingToDo},
          {operation_code::discardAuth, nothingToDo},
          {operation_code::deleteFiles, deleteFiles},
          {operation_code::prepareUninstall, withoutEffect},
          {operation_code::performUninstall, performUninstall}};
}

Outcome QRTPrivilegedHelper::run() {
  if (auto failure = listener().resume()) return failure;
  listener().runLoop();
  return success;
}

bool QRTPrivilegedHelper::shouldAcceptNewConnection(Listener& asking,
                                                    IncomingConnection* connection) {
  if (&asking != &listener() || !connection) {
    sysLog().fault("Received bad XPC connection request. Ignoring...");
    return false;
  }
  connection->setExportedObject(*this);
  connection->resume();
  return true;
}

std::unique_ptr<ListenerEndpoint> QRTPrivilegedHelper::connectWithEndpoint(const Caller& caller) {
  return listener().endpoint(caller);
}

std::string QRTPrivilegedHelper::getVersionString() {
  return operationSet().implementationVersion();
}

bool QRTPrivilegedHelper::registerClientWithPID(const Caller& caller, std::int32_t identifier) {
  RequestLog log(sysLog(), logAllowance_, caller);
  log.info("Beginning work for client %d.", identifier);
  bool isRegistered;
  {
    const std::lock_guard lock(clientSetLock());
    isRegistered = clientSet().add(identifier, caller.userID);
  }
  if (isRegistered) return true;
  log.error("Client %d was not registered because its user has registered too many.", identifier);
  return false;
}

void QRTPrivilegedHelper::unregisterClientWithPID(const Caller& caller, std::int32_t identifier) {
  std::size_t remaining = 0;
  {
    RequestLog log(sysLog(), logAllowance_, caller);
    log.info("Finishing work for client %d.", identifier);
    {
      const std::lock_guard lock(clientSetLock());
      clientSet().remove(identifier);
      remaining = clientSet().count();
    }
    log.info("%llu clients remaining.", remaining);
  }
  if (remaining == 0) terminatePrivilegedHelper();
}

Outcome QRTPrivilegedHelper::performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                                        const Data& authorizationData,
                                                        FeedbackEndpoint* endpoint,
                                                        RequestArguments* arguments) {
  return pipeline_->performPrivilegedOperation(caller, code, authorizationData, endpoint,
                                               arguments);
}

void QRTPrivilegedHelper::terminatePrivilegedHelper() {
  RequestLog::writeReports(sysLog(), logAllowance_.takeAllReports());
  sysLog().info("Terminating privileged helper.");
  listener().invalidate();
  platform_->self.exit(0);
  std::abort();  // Never reached. Compilers cannot see that `exit` does not return.
}

}  // namespace qrt
