#include "service/AuthorizationCheck.h"

#include <algorithm>

#include "base/Utf8.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/Authority.h"
#include "platform/Log.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

Outcome outcomeOf(AuthorizationStatus status) {
  switch (status) {
    case AuthorizationStatus::noError:
      return success;
    case AuthorizationStatus::denied:
      return posixError(PosixCode::notPermitted);
    case AuthorizationStatus::canceled:
      return posixError(PosixCode::canceled);
    default:
      return osStatusError(number(status));
  }
}

void copyString(const Dictionary& dictionary, std::string_view key, std::string* slot) {
  const auto* text = stringIn(dictionary, key);
  if (text && slot) *slot = *text;
}

}  // namespace

Outcome AuthorizationCheck::checkAuthorization(const Caller& caller, const Data& authorizationData,
                                               std::uint64_t forPrivilegedOperationWithCode,
                                               const std::string& overridingPrompt,
                                               const std::string& iconWithPath,
                                               bool destroyingRights) const {
  AuthorizationExternalForm form;
  if (authorizationData.size() != form.size()) return posixError(PosixCode::invalidArgument);
  const auto& identifiers = operationSet_.opIdentifiersByCode();
  const auto identifier = identifiers.find(forPrivilegedOperationWithCode);
  if (identifier == identifiers.end()) return posixError(PosixCode::invalidArgument);
  const auto rightName =
      operationSet_.authorizationRightNameForOperationWithIdentifier(identifier->second);
  if (!rightName || rightName->empty()) return posixError(PosixCode::invalidArgument);

  std::copy(authorizationData.begin(), authorizationData.end(), form.begin());
  const auto authorization = authority_.createFromExternalForm(caller, form, log_);
  if (!authorization) {
    // There is a reference only after success.
    const void* const reference = nullptr;
    log_.fault(
        "OS failure detected: valid authorization (%02x, %02x, %02x, %02x, ...) not internalized, "
        "got ref %p with error %d.",
        form[0], form[1], form[2], form[3], reference, number(authorization.error()));
    return operationSet_.errorForAuthorizationServicesFailure();
  }

  const auto& sentence =
      operationSet_.implementedOperations().at(identifier->second).presentationString();
  const auto environment = QRTPrivilegedOperationSet::createAuthorizationEnvironmentForRightPrompt(
      overridingPrompt, iconWithPath);
  const auto status = isValidUtf8(*rightName)
                          ? (*authorization)
                                ->copyRight({*rightName, sentence}, *environment,
                                            authorization_flag::interactionAllowed |
                                                authorization_flag::extendRights)
                          : AuthorizationStatus::invalidPointer;
  if (status != AuthorizationStatus::noError) {
    log_.info(
        "Privileged helper received failure status %d during an attempt to interactively extend "
        "rights.",
        number(status));
  }
  (*authorization)
      ->free(destroyingRights ? authorization_flag::destroyRights : authorization_flag::none);
  return outcomeOf(status);
}

void AuthorizationCheck::processMetadataDictionary(const Dictionary& metadata,
                                                   std::string* gettingPrompt,
                                                   std::string* iconPath) {
  copyString(metadata, authorizationPromptKey, gettingPrompt);
  copyString(metadata, authorizationIconKey, iconPath);
}

}  // namespace qrt
