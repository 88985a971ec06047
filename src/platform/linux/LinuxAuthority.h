// Authorization on Linux.
#pragma once

#include <optional>

#include "platform/Authority.h"
#include "platform/linux/ExternalFormSeal.h"
#include "platform/linux/LivingProcesses.h"
#include "platform/linux/PeerIdentity.h"
#include "platform/linux/RightsFile.h"

namespace qrt {

/// The authority that the daemon brings along: a right defined as "allow" is everybody's, any other
/// is root's. Clients prove who they are with an external form that the daemon sealed for them.
class LinuxAuthority : public Authority {
 public:
  LinuxAuthority(std::string stateFolder, PropertyLists& propertyLists);

  /// The form for a peer, as the kernel named it. None when it cannot be sealed.
  std::optional<AuthorizationExternalForm> externalForm(const PeerIdentity& peer);

  Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const AuthorizationExternalForm& form) override;
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> create() override;
  AuthorizationStatus rightGet(const std::string& name) override;
  AuthorizationStatus rightSet(Authorization& authorization, const std::string& name,
                               const PropertyValue& definition, const std::string& description,
                               const std::string& localizationTable) override;
  AuthorizationStatus rightRemove(Authorization& authorization, const std::string& name) override;

 private:
  class Reference;

  AuthorizationStatus evaluate(const PeerIdentity& process, const std::string& rightName);

  StateFolder state_;
  ExternalFormSeal seal_;
  RightsFile rights_;
  LivingProcesses living_;
};

}  // namespace qrt
