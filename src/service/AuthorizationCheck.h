// Whether a client may have an operation performed.
#pragma once

#include <cstdint>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "protocol/Caller.h"

namespace qrt {

class Authority;
class Log;
class QRTPrivilegedOperationSet;

/// Thread-safe; a check may block for as long as a person takes to answer a dialog.
class AuthorizationCheck {
 public:
  AuthorizationCheck(const QRTPrivilegedOperationSet& operationSet, Authority& authority, Log& log)
      : operationSet_(operationSet), authority_(authority), log_(log) {}

  /// Asks for the right of the operation with that code on behalf of the process that made the
  /// authorization data; `caller` is the process that sent it. Empty prompt and icon path leave the
  /// standard ones. With `destroyingRights` what the client was granted is given up afterwards.
  /// Nothing means authorized.
  Outcome checkAuthorization(const Caller& caller, const Data& authorizationData,
                             std::uint64_t forPrivilegedOperationWithCode,
                             const std::string& overridingPrompt, const std::string& iconWithPath,
                             bool destroyingRights) const;

  /// Reads prompt and icon path where they are strings; otherwise leaves the slots as they are.
  /// Either slot may be null.
  static void processMetadataDictionary(const Dictionary& metadata, std::string* gettingPrompt,
                                        std::string* iconPath);

 private:
  const QRTPrivilegedOperationSet& operationSet_;
  Authority& authority_;
  Log& log_;
};

}  // namespace qrt
