#include "client/cli/RightsChange.h"

#include <fmt/format.h>

#include <string>

#include "client/cli/output/SystemMessages.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/Authority.h"
#include "platform/Platform.h"
#include "platform/SelfProcess.h"

namespace qrt {
namespace {

struct RightsCount {
  std::int64_t installed = 0;
  std::int64_t missing = 0;
};

RightsCount countRights(const QRTPrivilegedOperationSet& operations, Authority& authority) {
  RightsCount count;
  operations.enumerateRightDefinitionsUsingBlock(
      [&](const std::string& name, const PropertyValue&, const std::string&) {
        const bool isInstalled = authority.rightGet(name) == AuthorizationStatus::noError;
        ++(isInstalled ? count.installed : count.missing);
      });
  return count;
}

Error incompleteError(std::int64_t left, std::string_view verb) {
  return describedError(PosixCode::inputOutput,
                        fmt::format("{} rights could not be {}.", left, verb));
}

}  // namespace

Result<std::int64_t> changeRights(RightsChange change, const QRTPrivilegedOperationSet& operations,
                                  const Platform& platform) {
  if (platform.self.realUserID() != 0) {
    return describedError(PosixCode::notPermitted, "Only root can change the rights.");
  }
  const auto package = platform.authority.packagedRights();
  if (change == RightsChange::install && !package.empty()) {
    return describedError(PosixCode::exists,
                          fmt::format("A package has installed the rights in {}.", package));
  }
  const auto authorization = platform.authority.create();
  if (!authorization) return osStatusError(number(authorization.error()));
  if (change == RightsChange::install) {
    operations.setAuthorizationRightsForImplementedOperationsUsingAuthorization(
        authorization->get());
  } else {
    operations.removeAuthorizationRightsForImplementedOperationsUsingAuthorization(**authorization);
  }
  (*authorization)->free(authorization_flag::none);

  // The failure of a single right is only logged, so the result is counted.
  const auto [installed, missing] = countRights(operations, platform.authority);
  if (change == RightsChange::install && missing != 0) return incompleteError(missing, "installed");
  if (change == RightsChange::remove && installed != 0 && package.empty()) {
    return incompleteError(installed, "removed");
  }
  return installed;
}

}  // namespace qrt
