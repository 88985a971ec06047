#include "operations/QRTPrivilegedOperation.h"

#include "operations/OperationCatalogue.h"
#include "platform/Log.h"

namespace qrt {
namespace {

std::optional<PropertyValue> rightDefinition(std::uint64_t policy) {
  switch (policy) {
    case authentication_policy::allow:
      return "allow";
    case authentication_policy::defaultRule:
      return Dictionary{{"rule", "default"}};
    case authentication_policy::authenticateAdmin:
      return "authenticate-admin";
    default:
      return std::nullopt;
  }
}

bool isRightDefinition(const PropertyValue& value) {
  if (const auto* rule = value.string()) return !rule->empty();
  if (const auto* definition = value.dictionary()) return !definition->empty();
  return false;
}

bool typesFitCount(const std::optional<std::string>& types, std::uint64_t count) {
  if (count == NSNotFound) return !types;
  return (types ? types->size() : 0) == count;
}

// As in the "C" locale: only ASCII has letters.
constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr char toLower(char c) { return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char toUpper(char c) { return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::optional<QRTPrivilegedOperation> QRTPrivilegedOperation::initWithStaticDescription(
    const QRTPrivilegedOperationStaticDescription& description, Log& log) {
  if (!description.identifier || !description.userPresentation) return std::nullopt;
  auto policy = rightDefinition(description.authenticationPolicy);
  if (!policy) return std::nullopt;
  std::optional<std::string> types;
  if (description.argumentTypes) types = description.argumentTypes;

  auto operation = initWithIdentifier(
      description.identifier, std::move(*policy), description.capabilities.progressFeedback,
      description.capabilities.liveOutput, description.argumentCount, std::move(types),
      description.userPresentation);
  if (!operation) {
    log.error(
        "%{public}@: implementation error - static description with code %llu contains "
        "inconsistent data and was not accepted.",
        "(null)", description.code);
  }
  return operation;
}

std::optional<QRTPrivilegedOperation> QRTPrivilegedOperation::initWithIdentifier(
    std::string identifier, PropertyValue authenticationPolicy, bool progressCapability,
    bool outputCapability, std::uint64_t argumentCount, std::optional<std::string> argumentTypes,
    std::string userPresentation) {
  const bool isConsistent = !identifier.empty() && isRightDefinition(authenticationPolicy) &&
                            !(progressCapability && outputCapability) &&
                            typesFitCount(argumentTypes, argumentCount) &&
                            !userPresentation.empty();
  if (!isConsistent) return std::nullopt;

  QRTPrivilegedOperation operation;
  operation.identifier_ = std::move(identifier);
  operation.authenticationPolicy_ = std::move(authenticationPolicy);
  operation.isSupportingProgressFeedback_ = progressCapability;
  operation.isSupportingLiveOutput_ = outputCapability;
  operation.argumentCount_ = argumentCount;
  operation.argumentTypeCodes_ = std::move(argumentTypes);
  operation.presentationString_ = std::move(userPresentation);
  return operation;
}

std::optional<std::string>
QRTPrivilegedOperation::authenticationRightNameForImplementationIdentifier(
    const std::string& implementationCode) const {
  if (implementationCode.empty()) return std::nullopt;
  return "com.vantor." + implementationCode + "." + identifier_;
}

std::string QRTPrivilegedOperation::operationIdentifierForExecutionSelector() const {
  std::string stem;
  bool isFirstLetter = true;
  for (const char c : identifier_) {
    if (c == '-') isFirstLetter = true;
    if (!isLower(c) && !isUpper(c)) continue;
    stem.push_back(isFirstLetter ? toUpper(c) : toLower(c));
    isFirstLetter = false;
  }
  return stem;
}

}  // namespace qrt
