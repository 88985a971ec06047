#include "client/cli/ExitStatus.h"

#include "client/PrivilegeRequestor.h"
#include "platform/Authority.h"

namespace qrt {
namespace {

/// The services' own statuses lie together.
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

ExitStatus exitStatusFor(const Error& error) {
  if (error.code == 0) return ExitStatus::done;
  if (isConnectionFailure(error)) return ExitStatus::unreachable;
  if (isNotFound(error)) return ExitStatus::notFound;
  const bool isDenied = isPosixError(error, PosixCode::notPermitted) ||
                        isPosixError(error, PosixCode::canceled) || isAuthorizationFailure(error);
  return isDenied ? ExitStatus::notAuthorized : ExitStatus::failed;
}

}  // namespace qrt
