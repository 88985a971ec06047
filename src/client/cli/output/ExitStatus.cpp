#include "client/cli/output/ExitStatus.h"

#include <charconv>
#include <system_error>

#include "client/RequestErrors.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Authority.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// The authorization services use one range of statuses.
bool isAuthorizationFailure(const Error& error) {
  constexpr std::int64_t last = -60033;
  constexpr std::int64_t first = -60001;
  return error.domain == osStatusErrorDomain && error.code <= first && error.code >= last;
}

bool isNotFound(const Error& error) {
  constexpr std::int64_t noSuchFile = 4;
  constexpr std::int64_t noSuchFileToRead = 260;
  return isPosixError(error, PosixCode::noEntry) ||
         (error.domain == cocoaErrorDomain &&
          (error.code == noSuchFile || error.code == noSuchFileToRead));
}

}  // namespace

std::optional<int> statusOfProgram(const Error& error) {
  constexpr std::int64_t programFailed = 3;
  if (error.domain != privilegedOperationErrorDomain || error.code != programFailed) {
    return std::nullopt;
  }
  const auto parameters = error.userInfo.find(suggestionParametersKey);
  const auto* array = parameters == error.userInfo.end() ? nullptr : parameters->second.array();
  const auto* text = array && array->size() == 1 ? array->front().string() : nullptr;
  if (!text) return std::nullopt;
  int status = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, problem] = std::from_chars(text->data(), end, status);
  // A program that was not run has a status outside of this range.
  const bool isStatus = problem == std::errc() && stop == end && status > 0 && status < 256;
  return isStatus ? std::optional(status) : std::nullopt;
}

std::optional<int> signalOfProgram(const Error& error) {
  const auto status = statusOfProgram(error);
  // The map of older libraries has no `contains` for a view.
  const bool wasKilled = error.userInfo.find(programSignalKey) != error.userInfo.end();
  return status && wasKilled ? status : std::nullopt;
}

ExitStatus exitStatusFor(const Error& error) {
  if (isConnectionFailure(error)) return ExitStatus::unreachable;
  if (const auto signal = signalOfProgram(error)) return static_cast<ExitStatus>(128 + *signal);
  if (const auto status = statusOfProgram(error)) return static_cast<ExitStatus>(*status);
  if (isNotFound(error)) return ExitStatus::notFound;
  const bool isDenied = isPosixError(error, PosixCode::notPermitted) ||
                        isPosixError(error, PosixCode::canceled) || isAuthorizationFailure(error);
  return isDenied ? ExitStatus::notAuthorized : ExitStatus::failed;
}

}  // namespace qrt
