#include "client/RequestErrors.h"

#include "platform/SystemErrorText.h"
#include "protocol/ConnectionErrors.h"

namespace qrt {

std::string messageOf(const Error& error) {
  const bool isPosix = error.domain == posixErrorDomain;
  const bool isDescribed = stringIn(error.userInfo, localizedDescriptionKey) != nullptr;
  const auto text = isPosix && !isDescribed ? systemErrorText(error.code) : std::nullopt;
  return text ? *text : descriptionOf(error);
}

bool isConnectionFailure(const Error& error) {
  const bool isInvalid =
      error.domain == cocoaErrorDomain && error.code == connection_error::invalid;
  return isInvalid || isBrokenConnection(error);
}

bool isBrokenConnection(const Error& error) {
  return error.domain == cocoaErrorDomain && error.code == connection_error::interrupted;
}

}  // namespace qrt
