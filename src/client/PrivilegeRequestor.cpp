#include "client/PrivilegeRequestor.h"

#include <utility>

#include "client/CallSender.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/CallerProcess.h"
#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"

namespace qrt {
namespace {

struct Environment {
  NativePlatform native;
  QRTPrivilegedOperationSetVK2 operations{native.facilities().log, native.facilities().authority};
};

}  // namespace

Result<PrivilegeRequestor> PrivilegeRequestor::connect() {
  auto environment = std::make_shared<Environment>();
  const auto caller = makeNativeCallerProcess();
  auto requestor = Requestor::connect(environment->native.facilities(), defaultHelperAddress(),
                                      caller->processIdentifier(), environment->operations);
  if (!requestor) return requestor.error();
  auto folder = caller->currentFolder();
  return PrivilegeRequestor(std::make_unique<CallSender>(
      std::move(*requestor), folder ? std::move(*folder) : std::string(), std::move(environment)));
}

PrivilegeRequestor::PrivilegeRequestor(std::unique_ptr<CallSender> sender)
    : OperationCalls(std::move(sender)) {}

Result<std::string> PrivilegeRequestor::version() { return sender_->requestor().version(); }

void PrivilegeRequestor::stop() { sender_->requestor().stop(); }

void PrivilegeRequestor::interrupt() { sender_->requestor().interrupt(); }

bool PrivilegeRequestor::wasInterrupted() const { return sender_->requestor().wasInterrupted(); }

bool PrivilegeRequestor::isOperationLeftBehind() const {
  return sender_->requestor().isOperationLeftBehind();
}

}  // namespace qrt
