// The operations that a program offers, the rights they need and the handlers that perform them.
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

/// Abstract base of the operation sets. The catalogue is fixed from construction and the handlers
/// are added before the service starts; after that any thread may use the set.
class QRTPrivilegedOperationSet {
 public:
  using Factory = std::unique_ptr<QRTPrivilegedOperationSet> (*)(Log&, Authority&);
  using ImplementedOperations = std::map<std::string, QRTPrivilegedOperation, std::less<>>;
  using OpIdentifiersByCode = std::map<std::uint64_t, std::string>;

  /// The process-wide set. The first call makes it with its factory; later calls get the same set
  /// whatever factory they name. It lives until the process ends. Thread-safe.
  static QRTPrivilegedOperationSet& privilegedOperationSet(Factory factory, Log& log,
                                                           Authority& authority);

  static constexpr std::string_view errorDomain = privilegedOperationErrorDomain;
  static constexpr std::string_view nameOfAuthorizationRightLocalizationTable =
      "PrivilegedOperations";
  static constexpr std::string_view nameOfErrorMessageLocalizationTable =
      "PrivilegedOperationErrors";

  /// The same error with its texts, and those of the errors underneath it, in the user's language
  /// and with the parameters in the place of "$1$", "$2$", ... Success stays success. These three
  /// are for the side that shows errors.
  static Outcome localizedErrorForPrivilegedOperationError(const Outcome& error,
                                                           const Localization& localization);
  static std::string localizedUIPolitenessAgnosticStringForKey(const std::string& key,
                                                               const std::string& value,
                                                               std::string_view table,
                                                               const Localization& localization);
  /// Parameters are inserted one after another, each into the whole text: a placeholder inside a
  /// parameter is replaced by the later parameter that it names.
  static std::string localizedStringForTemplate(const std::string& templateText,
                                                const std::vector<std::string>& parameters,
                                                const Localization& localization);

  /// Frees an environment and its values, all of them made with `new`. Null is ignored.
  static void freeAuthorizationEnvironment(AuthorizationEnvironment* environment);
  struct EnvironmentDeleter {
    void operator()(AuthorizationEnvironment* environment) const {
      freeAuthorizationEnvironment(environment);
    }
  };
  using OwnedAuthorizationEnvironment =
      std::unique_ptr<AuthorizationEnvironment, EnvironmentDeleter>;

  /// What a rights request shows in its dialog. An empty text adds no item; the lengths count the
  /// terminating NUL.
  static OwnedAuthorizationEnvironment createAuthorizationEnvironmentForRightPrompt(
      const std::string& prompt, const std::string& iconPath);

  virtual ~QRTPrivilegedOperationSet() = default;
  QRTPrivilegedOperationSet(const QRTPrivilegedOperationSet&) = delete;
  QRTPrivilegedOperationSet& operator=(const QRTPrivilegedOperationSet&) = delete;

  /// The authorization services do not work as they should.
  Error errorForAuthorizationServicesFailure() const;

  /// The service's name, which is also the name of the job that starts it.
  std::string serviceIdentifierForHelper() const;
  std::string nameOfXPCRequestorForHelper() const;

  /// None for an operation that is not in the catalogue.
  std::optional<std::string> authorizationRightNameForOperationWithIdentifier(
      std::string_view identifier) const;

  /// Adds the rights that the database lacks; those it has stay as they are. Does nothing without
  /// an authorization. A right that cannot be written costs a log line.
  void setAuthorizationRightsForImplementedOperationsUsingAuthorization(
      Authorization* authorization) const;
  void removeAuthorizationRightsForImplementedOperationsUsingAuthorization(
      Authorization& authorization) const;

  /// Null when the code is unknown or nothing performs it.
  const Handler* selectorForExecutionOfPrivilegedOperationWithCode(std::uint64_t code,
                                                                   bool feedbackOption) const;
  /// The full name under which a handler for this code is looked up; empty for an unknown code.
  std::string nameOfSelectorForExecutionOfPrivilegedOperationWithCode(std::uint64_t code,
                                                                      bool feedbackOption) const;

  /// The codes that need a handler and have none: without it an operation is offered that can only
  /// fail.
  std::vector<std::uint64_t> codesWithoutHandler() const;

  /// `NSNotFound` for none and for an operation that is not in the catalogue.
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
  /// `catalogue` ends with a record of code `endOfCatalogue`. Records that are not accepted are
  /// left out.
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
