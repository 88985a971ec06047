#include "service/RequestPipeline.h"

#include <chrono>
#include <thread>
#include <typeinfo>

#include "operations/OperationCatalogue.h"
#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/ForeignException.h"
#include "platform/Platform.h"
#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"
#include "service/AuthorizationCheck.h"
#include "service/RequestLog.h"

namespace qrt {
namespace {

/// Time for the requestor to take the final message before the connection ends.
constexpr std::chrono::milliseconds pauseBeforeSuspension{250};

Error invalidArgument() { return posixError(PosixCode::invalidArgument); }

bool isTypeCode(char code) { return code == 'S' || code == 'N' || code == 'D'; }

bool isOfType(const PropertyValue& value, char typeCode) {
  switch (typeCode) {
    case 'S':
      return value.string() != nullptr;
    case 'N':
      return value.number() != nullptr;
    default:
      return value.data() != nullptr;
  }
}

/// Any process may perform it, any number of times.
bool needsNoPassword(const QRTPrivilegedOperation& operation) {
  const auto* rule = operation.authenticationPolicy().string();
  return rule && *rule == "allow";
}

std::string orNil(std::string_view text) { return std::string(text.empty() ? "<nil>" : text); }

}  // namespace

struct RequestPipeline::Request {
  const Caller& caller;
  RequestLog& log;
  std::uint64_t code;
  const std::string& identifier;
  const QRTPrivilegedOperation& operation;
  RequestArguments& received;
  /// The number of received arguments that are metadata.
  std::size_t metadataCount = 0;
  /// Decoded once the operation is authorized and their number is right.
  Array arguments = {};
  std::unique_ptr<FeedbackConnection> feedback = nullptr;

  std::uint64_t argumentCount() const { return received.count() - metadataCount; }
  void decodeArguments() {
    arguments = received.decode();
    const auto metadata = static_cast<std::ptrdiff_t>(metadataCount);
    arguments.erase(arguments.begin(), arguments.begin() + metadata);
  }
};

RequestPipeline::RequestPipeline(const QRTPrivilegedOperationSet& operationSet,
                                 const Platform& platform, LogAllowance& logAllowance,
                                 InternalOperations internalOperations)
    : operationSet_(operationSet),
      platform_(platform),
      logAllowance_(logAllowance),
      internalOperations_(std::move(internalOperations)) {}

Outcome RequestPipeline::performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                                    const Data& authorizationData,
                                                    FeedbackEndpoint* endpoint,
                                                    RequestArguments* arguments) const {
  const auto& identifiers = operationSet_.opIdentifiersByCode();
  const auto identifier = identifiers.find(code);
  const std::uint64_t received = arguments ? arguments->count() : 0;
  RequestLog log(platform_.log, logAllowance_, caller);
  if (!arguments || !arguments->areReadable() || identifier == identifiers.end()) {
    log.error("Received invalid operation with code %llu, %llu arguments.", code, received);
    return invalidArgument();
  }
  log.setOperation(identifier->second);
  log.info("About to perform privileged operation '%{public}@' with %llu arguments.",
           identifier->second, received);

  Request request{caller,
                  log,
                  code,
                  identifier->second,
                  operationSet_.implementedOperations().find(identifier->second)->second,
                  *arguments};
  if (auto refusal = authorize(request, authorizationData)) return refusal;
  if (auto refusal = validate(request)) return refusal;
  if (auto refusal = openFeedback(request, endpoint)) return refusal;
  auto outcome = run(request);
  closeFeedback(request);
  log.info("Operation %{public}@ was completed with return code %lld.", request.identifier,
           codeOf(outcome));
  return outcome;
}

/// Reads the metadata and requests the right.
Outcome RequestPipeline::authorize(Request& request, const Data& authorizationData) const {
  std::string prompt;
  std::string iconPath;
  if (const auto metadata = request.received.metadata()) {
    request.metadataCount = RequestArguments::metadataCount;
    request.log.error(
        "Actual number of arguments is %llu. %llu additional metadata entries have been "
        "transferred.",
        request.argumentCount(), metadata->entryCount);
    AuthorizationCheck::processMetadataDictionary(metadata->entries, &prompt, &iconPath);
  }
  const bool destroyingRights = request.code == operation_code::discardAuth;
  const AuthorizationCheck check(operationSet_, platform_.authority, request.log);
  auto refusal = check.checkAuthorization(request.caller, authorizationData, request.code, prompt,
                                          iconPath, destroyingRights);
  if (refusal) {
    request.log.error("Operation could not be authorized, rejected with error code %lld.",
                      refusal->code);
  } else if (!needsNoPassword(request.operation)) {
    request.log.keepEveryLine();
  }
  return refusal;
}

/// Checks the number of arguments before it decodes them.
Outcome RequestPipeline::validate(Request& request) const {
  const bool takesAnyNumber = request.operation.argumentCount() == NSNotFound;
  if (!takesAnyNumber) {
    if (auto refusal = validateCount(request)) return refusal;
  }
  request.decodeArguments();
  return takesAnyNumber ? validateStrings(request) : validateTypes(request);
}

Outcome RequestPipeline::validateCount(const Request& request) const {
  const auto count = request.operation.argumentCount();
  if (request.argumentCount() != count) {
    request.log.error(
        "Operation %{public}@ was rejected because an invalid number of arguments was specified "
        "(%llu expected, %llu sent).",
        request.identifier, count, request.argumentCount());
    return invalidArgument();
  }
  if (request.operation.argumentTypeCodes().value_or("").size() != count) {
    request.log.error(
        "Operation %{public}@ was rejected because a contradiction in its definition has been "
        "detected (bad type codes).",
        request.identifier);
    return invalidArgument();
  }
  return success;
}

Outcome RequestPipeline::validateStrings(const Request& request) const {
  for (const auto& argument : request.arguments) {
    if (argument.string()) continue;
    request.log.error(
        "Operation %{public}@ was rejected because at least one argument has class %{public}@ "
        "(string expected).",
        request.identifier, argument.className());
    return invalidArgument();
  }
  return success;
}

Outcome RequestPipeline::validateTypes(const Request& request) const {
  const auto& arguments = request.arguments;
  const auto typeCodes = request.operation.argumentTypeCodes().value_or("");
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!isTypeCode(typeCodes[i])) {
      request.log.error(
          "Operation %{public}@ was rejected because a contradiction in its definition has been "
          "detected (invalid type code '%C').",
          request.identifier, typeCodes[i]);
      return invalidArgument();
    }
    if (!isOfType(arguments[i], typeCodes[i])) {
      request.log.error(
          "Operation %{public}@ was rejected because argument %llu has class %{public}@ (expected "
          "type '%c').",
          request.identifier, i, arguments[i].className(), typeCodes[i]);
      return invalidArgument();
    }
  }
  return success;
}

Outcome RequestPipeline::openFeedback(Request& request, FeedbackEndpoint* endpoint) const {
  if (!endpoint || !request.operation.isSupportingFeedback()) return success;

  const bool progress = request.operation.isSupportingProgressFeedback();
  request.log.info("About to configure feedback protocol.");
  auto connection = endpoint->connect(operationSet_.interfaceForFeedbackProtocol());
  auto firstMessage = progress ? progressMessage(0.0) : initialOutputMessage();
  request.log.info("About to open return connection for feedback (progress option %d).",
                   static_cast<int>(progress));
  auto failure = connection->open(std::move(firstMessage));
  if (failure) {
    request.log.error(
        "The operation is supporting feedback information, but no return connection could be "
        "opened (%{public}@).",
        descriptionOf(*failure));
    return failure;
  }
  request.feedback = std::move(connection);
  return success;
}

/// Catches every exception.
Outcome RequestPipeline::run(const Request& request) const {
  std::string name;
  std::string reason;
  try {
    return dispatch(request);
  } catch (const OperationException& exception) {
    name = exception.name();
    reason = exception.what();
  } catch (const std::exception& exception) {
    name = typeid(exception).name();
    reason = exception.what();
  } catch (...) {
    const auto foreign = handledForeignException();
    name = foreign.name;
    reason = foreign.reason;
  }
  request.log.error(
      "The exception '%{public}s' occurred while trying to execute the privileged operation: "
      "%{public}s",
      orNil(name), orNil(reason));
  return posixError(PosixCode::interrupted);
}

Outcome RequestPipeline::dispatch(const Request& request) const {
  const auto& stop = request.feedback ? request.feedback->stopRequest() : StopRequest::never();
  const auto platform = platform_.forRequest(request.log, request.caller.userID, stop);
  const auto internal = internalOperations_.find(request.code);
  if (internal != internalOperations_.end()) {
    return internal->second(platform, request.arguments, nullptr);
  }

  const auto* handler = operationSet_.selectorForExecutionOfPrivilegedOperationWithCode(
      request.code, request.operation.isSupportingFeedback());
  if (!handler) {
    request.log.error(
        "Privileged operation %{public}@ could not be performed because no implementation found.",
        request.identifier);
    return posixError(PosixCode::notImplemented);
  }
  request.log.info("Operation %{public}@ will be executed with feedback option %{public}s.",
                   request.identifier, request.feedback ? "enabled" : "disabled");
  auto outcome = (*handler)(platform, request.arguments, request.feedback.get());
  // The handler reports the step that the request to stop ended.
  const bool wasStopped = stop.isSet() && codeOf(outcome) != 0;
  return wasStopped ? posixError(PosixCode::canceled) : outcome;
}

void RequestPipeline::closeFeedback(Request& request) const {
  if (!request.feedback) return;
  request.log.info("Sending final feedback message.");
  request.feedback->processPrivilegedOperationFeedback(finalMessage());
  std::this_thread::sleep_for(pauseBeforeSuspension);
  request.log.info("Suspending feedback connection %{public}p.", request.feedback.get());
  request.feedback->suspend();
}

}  // namespace qrt
