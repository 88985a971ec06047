// Authorization on Linux.
#pragma once

#include <optional>

#include "platform/Authority.h"
#include "platform/linux/authority/DialogQueue.h"
#include "platform/linux/authority/ExternalFormSeal.h"
#include "platform/linux/authority/LivingProcesses.h"
#include "platform/linux/authority/PeerIdentity.h"
#include "platform/linux/authority/PolkitActions.h"
#include "platform/linux/authority/PolkitAuthority.h"
#include "platform/linux/authority/RememberedGrants.h"
#include "platform/linux/authority/RightsFile.h"

namespace qrt {

/// Root has every right. For other users polkit decides if it can be reached at that moment, else
/// the daemon itself: all users have a right that is defined as "allow", only root has the others.
/// Clients prove who they are with an external form that the daemon sealed for them.
///
/// A right is kept in the daemon's own database and as an action of polkit, so that either can
/// decide. It exists when both have it, or when a package has brought it. Setting it adds what is
/// missing and changes nothing else; removing it removes both, but not what a package has brought.
class LinuxAuthority : public Authority {
 public:
  LinuxAuthority(const std::string& root, std::string stateFolder);

  /// The form for a peer that the kernel has named. Empty when it cannot be sealed.
  std::optional<AuthorizationExternalForm> externalForm(const PeerIdentity& peer);

  Result<std::unique_ptr<Authorization>, AuthorizationStatus> createFromExternalForm(
      const Caller& caller, const AuthorizationExternalForm& form, Log& log) override;
  Result<std::unique_ptr<Authorization>, AuthorizationStatus> create() override;
  std::string packagedRights() const override { return actions_.packagedFile(); }
  AuthorizationStatus rightGet(const std::string& name) override;
  AuthorizationStatus rightSet(Authorization& authorization, const std::string& name,
                               const PropertyValue& definition, const std::string& description,
                               const std::string& localizationTable) override;
  AuthorizationStatus rightRemove(Authorization& authorization, const std::string& name) override;

 private:
  class Reference;

  AuthorizationStatus evaluate(const Reference& reference, const RequestedRight& right,
                               const AuthorizationEnvironment& environment, std::uint32_t flags);
  AuthorizationStatus evaluateWithoutPolkit(const std::string& rightName);
  std::optional<PropertyValue> definition(const std::string& rightName);
  bool isGrantRemembered(const std::string& rightName);

  StateFolder state_;
  ExternalFormSeal seal_;
  RightsFile rights_;
  PolkitActions actions_;
  PolkitAuthority polkit_;
  DialogQueue dialogs_;
  RememberedGrants grants_;
  LivingProcesses living_;
};

}  // namespace qrt
