#include "client/CallSender.h"

namespace qrt {

Outcome CallSender::request(std::string_view identifier, CallArguments arguments,
                            const OnFeedback& onFeedback,
                            const AuthorizationPresentation& presentation) {
  auto values = std::move(arguments).take();
  if (!values) return values.error();
  FeedbackHandler handler;
  if (onFeedback) {
    handler = [&](const Dictionary& message) { onFeedback(operationFeedback(message)); };
  }
  return requestor_->perform(identifier, std::move(*values), presentation, handler);
}

Result<std::int64_t> answerOf(const Outcome& outcome, std::string_view key) {
  if (!outcome) return posixError(PosixCode::inputOutput);
  if (outcome->code != 0) return *outcome;
  const auto found = outcome->userInfo.find(key);
  const auto* number = found == outcome->userInfo.end() ? nullptr : found->second.number();
  if (!number) return posixError(PosixCode::inputOutput);
  return number->asInt64();
}

}  // namespace qrt
