#include "client/cli/paths/PathRequests.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "client/RequestErrors.h"
#include "client/cli/commandline/MessageSize.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// Fewer than the values that a message may have.
constexpr std::size_t mostPaths = 500'000;

class Run {
 public:
  Run(const PathCommand& command, const SendRequest& send, const FeedbackHandler& handler)
      : command_(command), send_(send), handler_(handler) {
    result_.total = command.paths.size();
  }

  PathsResult perform() {
    while (next_ < command_.paths.size()) {
      const auto count = countOfRequest();
      if (!judge(performRequest(count), count)) break;
    }
    return std::move(result_);
  }

 private:
  /// After a failure the requests begin small again and double, so that many failures in a long
  /// list do not send its end many times.
  std::size_t countOfRequest() const {
    if (!command_.sendsProgress) return 1;
    std::size_t size = 0;
    for (const auto& option : command_.options) size += sizeInMessage(option);
    std::size_t count = 0;
    const auto most = std::min(command_.paths.size() - next_, most_);
    while (count < most) {
      size += sizeInMessage(command_.paths[next_ + count]);
      if (count > 0 && size > largestArguments) break;
      ++count;
    }
    return count;
  }

  Outcome performRequest(std::size_t count) {
    auto arguments = command_.options;
    const auto first = command_.paths.begin() + static_cast<std::ptrdiff_t>(next_);
    arguments.insert(arguments.end(), first, first + static_cast<std::ptrdiff_t>(count));
    fraction_ = 0;
    hasBegun_ = false;
    return send_(arguments, command_.sendsProgress ? handlerOfRequest(count) : FeedbackHandler());
  }

  FeedbackHandler handlerOfRequest(std::size_t count) {
    return [this, count](const Dictionary& message) {
      hasBegun_ = true;
      const auto progress = message.find(progressFractionKey);
      if (progress == message.end() || !progress->second.number()) return handler_(message);
      fraction_ = std::clamp(progress->second.number()->asDouble(), 0.0, 1.0);
      auto whole = message;
      const auto done = static_cast<double>(next_) + fraction_ * static_cast<double>(count);
      whole.insert_or_assign(std::string(progressFractionKey),
                             done / static_cast<double>(result_.total));
      handler_(whole);
    };
  }

  /// False when no further request is to be sent.
  bool judge(Outcome outcome, std::size_t count) {
    if (!outcome || outcome->code == 0) {
      result_.done += count;
      next_ += count;
      isAuthorized_ = true;
      most_ = most_ > mostPaths / 2 ? mostPaths : most_ * 2;
      return true;
    }
    const auto before = std::min(
        static_cast<std::size_t>(std::llround(fraction_ * static_cast<double>(count))), count);
    result_.done += before;
    next_ += before;
    if (isEnding(*outcome) || before == count) {
      result_.ending = std::move(outcome);
      return false;
    }
    isAuthorized_ = true;
    result_.failures.push_back({next_++, std::move(*outcome)});
    most_ = 1;
    return !command_.stopsOnFirstError;
  }

  /// Whether the error concerns the request and not one of its paths. A file may not permit what
  /// the operation does, with the same code as a refusal; feedback comes only after authorization.
  bool isEnding(const Error& error) const {
    if (isConnectionFailure(error) || error.domain == osStatusErrorDomain) return true;
    if (isPosixError(error, PosixCode::canceled) || isPosixError(error, PosixCode::interrupted)) {
      return true;
    }
    if (command_.sendsProgress) return !hasBegun_;
    return !isAuthorized_ && isPosixError(error, PosixCode::notPermitted);
  }

  const PathCommand& command_;
  const SendRequest& send_;
  const FeedbackHandler& handler_;
  PathsResult result_;
  std::size_t next_ = 0;
  /// The paths that the next request may have.
  std::size_t most_ = mostPaths;
  /// Of the request that runs, and whether it has sent feedback.
  double fraction_ = 0;
  bool hasBegun_ = false;
  /// Whether an earlier request was authorized.
  bool isAuthorized_ = false;
};

/// The value of an order to stop.
constexpr const char* yes = "1";

}  // namespace

PathCommand pathCommandFor(const OperationDescription& operation, Array values) {
  const auto& arguments = operation.row.arguments;
  // Every argument before the list has one value; options of the client follow them.
  const auto sent = std::count_if(arguments.begin(), arguments.end(), [](const auto& argument) {
    return argument.form != ArgumentForm::clientFlag;
  });
  const auto firstPath = values.begin() + (sent - 1);
  PathCommand command;
  command.sendsProgress = !operation.feedback.empty();
  command.paths.assign(std::make_move_iterator(firstPath), std::make_move_iterator(values.end()));
  values.erase(firstPath, values.end());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (arguments.data()[i].name != stopOption) continue;
    command.stopsOnFirstError = values[i] == PropertyValue(yes);
    if (command.paths.size() > 1) values[i] = yes;
  }
  command.options = std::move(values);
  return command;
}

PathsResult performForPaths(const PathCommand& command, const SendRequest& send,
                            const FeedbackHandler& handler) {
  return Run(command, send, handler).perform();
}

}  // namespace qrt
