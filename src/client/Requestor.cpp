#include "client/Requestor.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "client/RequestErrors.h"
#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// The arguments, after the metadata pair unless the presentation is empty.
Array withMetadata(const AuthorizationPresentation& presentation, Array arguments) {
  Dictionary metadata;
  if (!presentation.prompt.empty()) {
    metadata.emplace(authorizationPromptKey, presentation.prompt);
  }
  if (!presentation.iconPath.empty()) {
    metadata.emplace(authorizationIconKey, presentation.iconPath);
  }
  if (metadata.empty()) return arguments;
  arguments.insert(arguments.begin(), {metadataMarker, std::move(metadata)});
  return arguments;
}

Result<std::unique_ptr<HelperConnection>> connectAndRegister(HelperConnector& connector,
                                                             const std::string& address,
                                                             std::int32_t processIdentifier) {
  auto connection = connector.connect(address);
  if (!connection) return connection.error();
  if (auto failure = (*connection)->registerClientWithPID(processIdentifier)) return *failure;
  return connection;
}

/// Whether no path among the values exists.
bool areGone(FileSystem& files, const Array& values) {
  return std::all_of(values.begin(), values.end(), [&](const PropertyValue& value) {
    if (!value.string()) return true;
    const auto status = files.status(value.string()->c_str(), Links::stay);
    return !status && status.error() == PosixCode::noEntry;
  });
}

}  // namespace

Result<std::unique_ptr<Requestor>> Requestor::connect(const Platform& platform,
                                                      const std::string& address,
                                                      std::int32_t processIdentifier,
                                                      const QRTPrivilegedOperationSet& operations,
                                                      RegistrationPatience patience) {
  auto& connector = platform.helperConnector;
  const auto deadline = std::chrono::steady_clock::now() + helperAnswerLimit();
  auto connection = connectAndRegister(connector, address, processIdentifier);
  for (int attempt = 1; !connection && attempt < patience.attempts; ++attempt) {
    if (!isConnectionFailure(connection.error())) break;
    if (std::chrono::steady_clock::now() >= deadline) break;
    std::this_thread::sleep_for(patience.pause);
    connection = connectAndRegister(connector, address, processIdentifier);
  }
  if (!connection) return connection.error();
  return std::unique_ptr<Requestor>(
      new Requestor(std::move(*connection), platform.files, processIdentifier, operations));
}

Requestor::Requestor(std::unique_ptr<HelperConnection> connection, FileSystem& files,
                     std::int32_t processIdentifier, const QRTPrivilegedOperationSet& operations)
    : connection_(std::move(connection)),
      files_(files),
      processIdentifier_(processIdentifier),
      operations_(operations) {}

Requestor::~Requestor() {
  if (isOperationLeftBehind_) {
    // If the daemon unregistered this process at once, it could end before the operation does.
    connection_->unregisterClientWithPIDLater(processIdentifier_);
    return;
  }
  static_cast<void>(connection_->unregisterClientWithPID(processIdentifier_));
}

Result<std::string> Requestor::version() { return connection_->getVersionString(); }

Outcome Requestor::perform(std::string_view identifier, Array arguments,
                           const AuthorizationPresentation& presentation,
                           const FeedbackHandler& handler) {
  const auto found = operations_.implementedOperations().find(identifier);
  if (found == operations_.implementedOperations().end()) {
    return posixError(PosixCode::invalidArgument);
  }
  return perform(found->second, std::move(arguments), presentation, handler);
}

Outcome Requestor::perform(const QRTPrivilegedOperation& operation, Array arguments,
                           const AuthorizationPresentation& presentation,
                           const FeedbackHandler& handler) {
  const auto authorization = authorizationData();
  if (!authorization) return authorization.error();
  if (wasInterrupted_) return posixError(PosixCode::interrupted);
  const auto code = operations_.opCodeForOperation(&operation);
  const bool isUninstall = code == operation_code::performUninstall;
  const auto paths = isUninstall ? arguments : Array();
  auto outcome = connection_->performPrivilegedOperation(
      code, *authorization, handler, withMetadata(presentation, std::move(arguments)));
  // A daemon that has removed itself ends without a reply. If its files still exist, it ended for
  // another reason.
  if (isUninstall && outcome && isBrokenConnection(*outcome) && areGone(files_, paths)) {
    return success;
  }
  isOperationLeftBehind_ =
      wasInterrupted_ && outcome && isPosixError(*outcome, PosixCode::interrupted);
  return outcome;
}

void Requestor::stop() { connection_->stopOperation(); }

void Requestor::interrupt() {
  wasInterrupted_ = true;
  connection_->interrupt();
}

bool Requestor::wasInterrupted() const { return wasInterrupted_; }

bool Requestor::isOperationLeftBehind() const { return isOperationLeftBehind_; }

Result<Data> Requestor::authorizationData() {
  if (!authorizationData_) {
    auto form = connection_->createExternalForm();
    if (!form) return form.error();
    authorizationData_ = std::move(*form);
  }
  return *authorizationData_;
}

}  // namespace qrt
