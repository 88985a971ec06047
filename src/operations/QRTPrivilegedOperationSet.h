// The operations of a program, their rights and their handlers.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "operations/HandlerTable.h"
#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperation.h"
#include "platform/Authority.h"
#include "protocol/RemoteInterface.h"

namespace qrt {

class Log;
struct Localization;

/// Abstract base of the operation sets. The catalogue is fixed at construction, and the handlers
/// are added before the service starts. After that it is thread-safe.
class QRTPrivilegedOperationSet {
 public:
  using Factory = std::unique_ptr<QRTPrivilegedOperationSet> (*)(Log&, Authority&);
  using ImplementedOperations = std::map<std::string, QRTPrivilegedOperation, std::less<>>;
  using OpIdentifiersByCode = std::map<std::uint64_t, std::string>;

  /// The process-wide set. The first call makes it with its factory; later calls return the same
  /// set and ignore their factory. It lives until the process ends. Thread-safe.
  static QRTPrivilegedOperationSet& privilegedOperationSet(Factory factory, Log& log,
                                                           Authority& authority);

  static constexpr std::string_view errorDomain = privilegedOperationErrorDomain;
  static constexpr std::string_view nameOfAuthorizationRightLocalizationTable =
      "PrivilegedOperations";
  static constexpr std::string_view nameOfErrorMessageLocalizationTable =
      "PrivilegedOperationErrors";

  /// The error with its texts, and those of the errors underneath it, in the user's language and
  /// with the parameters for "$1$", "$2$", ... Success stays success. Clients call this and the
  /// next two.
  static Outcome localizedErrorForPrivilegedOperationError(const Outcome& error,
                                                           const Localization& localization);
  static std::string localizedUIPolitenessAgnosticStringForKey(const std::string& key,
                                                               const std::string& value,
                                                               std::string_view table,
                                                               const Localization& localization);
  /// Each parameter in turn is inserted into the whole text, so that a placeholder inside a
  /// parameter is replaced by a later one.
  static std::string localizedStringForTemplate(const std::string& templateText,
                                                const std::vector<std::string>& parameters,
                                                const Localization& localization);

  /// Frees an environment and its values, all made with `new`. Ignores null.
  static void freeAuthorizationEnvironment(AuthorizationEnvironment* environment);
  struct EnvironmentDeleter {
    void operator()(AuthorizationEnvironment* environment) const {
      freeAuthorizationEnvironment(environment);
    }
  };
  using OwnedAuthorizationEnvironment =
      std::unique_ptr<AuthorizationEnvironment, EnvironmentDeleter>;

  /// The texts of the dialog for a right. An empty text adds no item. The lengths include the zero
  /// byte at the end.
  static OwnedAuthorizationEnvironment createAuthorizationEnvironmentForRightPrompt(
      const std::string& prompt, const std::string& iconPath);

  virtual ~QRTPrivilegedOperationSet() = default;
  QRTPrivilegedOperationSet(const QRTPrivilegedOperationSet&) = delete;
  QRTPrivilegedOperationSet& operator=(const QRTPrivilegedOperationSet&) = delete;

  Error errorForAuthorizationServicesFailure() const;

  /// The name of the service and of the job that starts it.
  std::string serviceIdentifierForHelper() const;
  std::string nameOfXPCRequestorForHelper() const;

  /// Nothing for an operation that is not in the catalogue.
  std::optional<std::string> authorizationRightNameForOperationWithIdentifier(
      std::string_view identifier) const;

  /// Adds the rights that the database lacks and leaves the others unchanged. Does nothing if the
  /// authorization is null. Logs each right that it cannot write.
  void setAuthorizationRightsForImplementedOperationsUsingAuthorization(
      Authorization* authorization) const;
  void removeAuthorizationRightsForImplementedOperationsUsingAuthorization(
      Authorization& authorization) const;

  /// Null for an unknown code and for a code without a handler.
  const Handler* selectorForExecutionOfPrivilegedOperationWithCode(std::uint64_t code,
                                                                   bool feedbackOption) const;
  /// The full name of the handler for this code; empty for an unknown code.
  std::string nameOfSelectorForExecutionOfPrivilegedOperationWithCode(std::uint64_t code,
                                                                      bool feedbackOption) const;

  /// The codes up to `lastCodeWithHandler` without a handler.
  std::vector<std::uint64_t> codesWithoutHandler() const;

  /// `NSNotFound` for null and for an operation that is not in the catalogue.
  std::uint64_t opCodeForOperation(const QRTPrivilegedOperation* operation) const;

  RemoteInterface interfaceForFeedbackProtocol() const { return feedbackRemoteInterface; }

  using RightDefinitionBlock =
      std::function<void(const std::string& rightName, const PropertyValue& rightDefinition,
                         const std::string& presentation)>;
  void enumerateRightDefinitionsUsingBlock(const RightDefinitionBlock& block) const;

  virtual float minimumHelperVersionImplementingSelfUninstall() const { return 1.0f; }

  const std::string& implementationCode() const { return implementationCode_; }
  const std::string& implementationVersion() const { return implementationVersion_; }
  const ImplementedOperations& implementedOperations() const { return implementedOperations_; }
  const OpIdentifiersByCode& opIdentifiersByCode() const { return opIdentifiersByCode_; }

  HandlerTable& handlers() { return handlers_; }

 protected:
  /// `catalogue` ends with a record of code `endOfCatalogue`. Inconsistent records are left out.
  QRTPrivilegedOperationSet(std::string implementationCode, std::string implementationVersion,
                            const QRTPrivilegedOperationStaticDescription* catalogue, Log& log,
                            Authority& authority);

 private:
  const QRTPrivilegedOperation* operationWithCode(std::uint64_t code) const;

  std::string implementationCode_;
  std::string implementationVersion_;
  ImplementedOperations implementedOperations_;
  OpIdentifiersByCode opIdentifiersByCode_;
  HandlerTable handlers_;
  Log& log_;
  Authority& authority_;
};

}  // namespace qrt
