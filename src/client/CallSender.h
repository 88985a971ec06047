// What the typed calls use: a requestor, the folder of relative paths, and what the requestor
// needs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "base/Error.h"
#include "base/Result.h"
#include "client/AuthorizationPresentation.h"
#include "client/CallArguments.h"
#include "client/OperationFeedback.h"
#include "client/Requestor.h"

namespace qrt {

class CallSender {
 public:
  /// `folder` is absolute, or empty when it is unknown. `environment` is what the requestor refers
  /// to; it is kept as long as the requestor.
  CallSender(std::unique_ptr<Requestor> requestor, std::string folder,
             std::shared_ptr<const void> environment = {})
      : environment_(std::move(environment)),
        requestor_(std::move(requestor)),
        folder_(std::move(folder)) {}

  Requestor& requestor() { return *requestor_; }
  std::int32_t processIdentifier() const { return requestor_->processIdentifier(); }
  CallArguments arguments() const { return CallArguments(folder_); }

  Outcome request(std::string_view identifier, CallArguments arguments,
                  const OnFeedback& onFeedback, const AuthorizationPresentation& presentation);

 private:
  std::shared_ptr<const void> environment_;
  std::unique_ptr<Requestor> requestor_;
  std::string folder_;
};

/// The number with this key in the answer of a call.
Result<std::int64_t> answerOf(const Outcome& outcome, std::string_view key);

}  // namespace qrt
