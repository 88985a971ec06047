// Authorization on macOS.
#pragma once

#include "platform/Authority.h"

namespace qrt {

/// Authorization Services, whose numbers and records are those of the interface.
class MacosAuthority : public Authority {
 public:
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const Caller& caller, const AuthorizationExternalForm& form, Log& log) override;
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> create() override;

  AuthorizationStatus rightGet(const std::string& name) override;
  /// `invalidPointer` for texts that are not valid UTF-8.
  AuthorizationStatus rightSet(Authorization& authorization, const std::string& name,
                               const PropertyValue& definition, const std::string& description,
                               const std::string& localizationTable) override;
  AuthorizationStatus rightRemove(Authorization& authorization, const std::string& name) override;
};

}  // namespace qrt
