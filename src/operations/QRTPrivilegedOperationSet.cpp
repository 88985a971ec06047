#include "operations/QRTPrivilegedOperationSet.h"

#include <cstring>

#include "operations/OperationCatalogue.h"
#include "platform/Log.h"

namespace qrt {
namespace {

void addItem(AuthorizationEnvironment& environment, const char* name, const std::string& text) {
  if (text.empty()) return;
  const std::size_t length = text.size() + 1;
  environment.items[environment.count++] = {name, length,
                                            std::memcpy(new char[length], text.c_str(), length), 0};
}

}  // namespace

QRTPrivilegedOperationSet& QRTPrivilegedOperationSet::privilegedOperationSet(Factory factory,
                                                                             Log& log,
                                                                             Authority& authority) {
  // Never destroyed, because other threads may use it while the process exits.
  static QRTPrivilegedOperationSet* const shared = factory(log, authority).release();
  return *shared;
}

void QRTPrivilegedOperationSet::freeAuthorizationEnvironment(
    AuthorizationEnvironment* environment) {
  if (!environment) return;
  if (environment->items) {
    for (std::uint32_t i = 0; i < environment->count; ++i) {
      delete[] static_cast<char*>(environment->items[i].value);
    }
  }
  delete[] environment->items;
  delete environment;
}

QRTPrivilegedOperationSet::OwnedAuthorizationEnvironment
QRTPrivilegedOperationSet::createAuthorizationEnvironmentForRightPrompt(
    const std::string& prompt, const std::string& iconPath) {
  OwnedAuthorizationEnvironment environment(new AuthorizationEnvironment{0, nullptr});
  if (prompt.empty() && iconPath.empty()) return environment;
  environment->items = new AuthorizationItem[2]{};
  addItem(*environment, "prompt", prompt);
  addItem(*environment, "icon", iconPath);
  return environment;
}

QRTPrivilegedOperationSet::QRTPrivilegedOperationSet(
    std::string implementationCode, std::string implementationVersion,
    const QRTPrivilegedOperationStaticDescription* catalogue, Log& log, Authority& authority)
    : implementationCode_(std::move(implementationCode)),
      implementationVersion_(std::move(implementationVersion)),
      log_(log),
      authority_(authority) {
  const auto* record = catalogue;
  do {
    if (auto operation = QRTPrivilegedOperation::initWithStaticDescription(*record, log)) {
      const auto identifier = operation->identifier();
      opIdentifiersByCode_.insert_or_assign(record->code, identifier);
      implementedOperations_.insert_or_assign(identifier, std::move(*operation));
    }
    ++record;
  } while (record->code != endOfCatalogue);
}

Error QRTPrivilegedOperationSet::errorForAuthorizationServicesFailure() const {
  return privilegedOperationError(
      87654321, "Failure in macOS security services detected.",
      "Your computer no longer responds correctly to valid requests for granting this application "
      "permission to perform privileged operations. This is very likely a flaw in this macOS "
      "version. Please try to restart the application. If this doesn't help, please try to restart "
      "the computer.");
}

std::string QRTPrivilegedOperationSet::serviceIdentifierForHelper() const {
  return "com.vantor.system.privilegedhelper-" + implementationCode_;
}

std::string QRTPrivilegedOperationSet::nameOfXPCRequestorForHelper() const {
  return "com.vantor.xpc.privilegerequestor-" + implementationCode_;
}

std::optional<std::string>
QRTPrivilegedOperationSet::authorizationRightNameForOperationWithIdentifier(
    std::string_view identifier) const {
  const auto found = implementedOperations_.find(identifier);
  if (found == implementedOperations_.end()) return std::nullopt;
  return found->second.authenticationRightNameForImplementationIdentifier(implementationCode_);
}

void QRTPrivilegedOperationSet::setAuthorizationRightsForImplementedOperationsUsingAuthorization(
    Authorization* authorization) const {
  if (!authorization) return;
  const std::string table(nameOfAuthorizationRightLocalizationTable);
  enumerateRightDefinitionsUsingBlock([&](const std::string& name, const PropertyValue& definition,
                                          const std::string& presentation) {
    if (authority_.rightGet(name) != AuthorizationStatus::denied) return;
    const auto status = authority_.rightSet(*authorization, name, definition, presentation, table);
    if (status != AuthorizationStatus::noError) {
      log_.error("Authorization database did not accept right definition for '%{public}@'!", name);
    }
  });
}

void QRTPrivilegedOperationSet::removeAuthorizationRightsForImplementedOperationsUsingAuthorization(
    Authorization& authorization) const {
  enumerateRightDefinitionsUsingBlock([&](const std::string& name, const PropertyValue&,
                                          const std::string&) {
    if (authority_.rightGet(name) != AuthorizationStatus::noError) return;
    if (authority_.rightRemove(authorization, name) != AuthorizationStatus::noError) {
      log_.error("Authorization database did not remove right definition for '%{public}@'!", name);
    }
  });
}

const Handler* QRTPrivilegedOperationSet::selectorForExecutionOfPrivilegedOperationWithCode(
    std::uint64_t code, bool feedbackOption) const {
  return handlers_.find(
      nameOfSelectorForExecutionOfPrivilegedOperationWithCode(code, feedbackOption));
}

std::string QRTPrivilegedOperationSet::nameOfSelectorForExecutionOfPrivilegedOperationWithCode(
    std::uint64_t code, bool feedbackOption) const {
  const auto* operation = operationWithCode(code);
  if (!operation) return {};
  return "performOperation" + operation->operationIdentifierForExecutionSelector() +
         "WithArguments:" + (feedbackOption ? "feedbackConnection:" : "");
}

std::vector<std::uint64_t> QRTPrivilegedOperationSet::codesWithoutHandler() const {
  std::vector<std::uint64_t> codes;
  for (std::uint64_t code = 0; code <= lastCodeWithHandler; ++code) {
    const auto* operation = operationWithCode(code);
    const bool feedbackOption = operation && operation->isSupportingFeedback();
    if (!selectorForExecutionOfPrivilegedOperationWithCode(code, feedbackOption)) {
      codes.push_back(code);
    }
  }
  return codes;
}

std::uint64_t QRTPrivilegedOperationSet::opCodeForOperation(
    const QRTPrivilegedOperation* operation) const {
  if (!operation) return NSNotFound;
  for (const auto& [code, identifier] : opIdentifiersByCode_) {
    if (identifier == operation->identifier()) return code;
  }
  return NSNotFound;
}

void QRTPrivilegedOperationSet::enumerateRightDefinitionsUsingBlock(
    const RightDefinitionBlock& block) const {
  for (const auto& [identifier, operation] : implementedOperations_) {
    const auto name = authorizationRightNameForOperationWithIdentifier(identifier);
    if (name) block(*name, operation.authenticationPolicy(), operation.presentationString());
  }
}

const QRTPrivilegedOperation* QRTPrivilegedOperationSet::operationWithCode(
    std::uint64_t code) const {
  const auto identifier = opIdentifiersByCode_.find(code);
  if (identifier == opIdentifiersByCode_.end()) return nullptr;
  const auto operation = implementedOperations_.find(identifier->second);
  return operation == implementedOperations_.end() ? nullptr : &operation->second;
}

}  // namespace qrt
