// Whether a client may perform an operation.
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

/// Thread-safe. A check may wait for a user who answers a dialog.
class AuthorizationCheck {
 public:
  AuthorizationCheck(const QRTPrivilegedOperationSet& operationSet, Authority& authority, Log& log)
      : operationSet_(operationSet), authority_(authority), log_(log) {}

  /// Requests the operation's right for the process that made the authorization data; `caller` is
  /// the process that sent it. An empty prompt or icon path means the standard one. With
  /// `destroyingRights` the client's granted rights are given up afterwards. Success means
  /// authorized.
  Outcome checkAuthorization(const Caller& caller, const Data& authorizationData,
                             std::uint64_t forPrivilegedOperationWithCode,
                             const std::string& overridingPrompt, const std::string& iconWithPath,
                             bool destroyingRights) const;

  /// Copies prompt and icon path if they are strings, else leaves the slots unchanged. A slot may
  /// be null.
  static void processMetadataDictionary(const Dictionary& metadata, std::string* gettingPrompt,
                                        std::string* iconPath);

 private:
  const QRTPrivilegedOperationSet& operationSet_;
  Authority& authority_;
  Log& log_;
};

}  // namespace qrt
