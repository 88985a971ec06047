#include "platform/linux/LinuxAuthority.h"

#include <unistd.h>

namespace qrt {

class LinuxAuthority::Reference : public Authorization {
 public:
  Reference(LinuxAuthority& authority, const PeerIdentity& process)
      : authority_(authority), process_(process) {}

  AuthorizationStatus copyRight(const std::string& rightName, const AuthorizationEnvironment&,
                                std::uint32_t) override {
    return authority_.evaluate(process_, rightName);
  }

  // This authority remembers no grant, so there is none to destroy.
  void free(std::uint32_t) override {}

 private:
  LinuxAuthority& authority_;
  PeerIdentity process_;
};

LinuxAuthority::LinuxAuthority(std::string stateFolder, PropertyLists& propertyLists)
    : state_(std::move(stateFolder)), seal_(state_), rights_(state_, propertyLists) {}

std::optional<AuthorizationExternalForm> LinuxAuthority::externalForm(const PeerIdentity& peer) {
  return seal_.seal(peer);
}

Result<std::unique_ptr<Authorization>, AuthorizationStatus> LinuxAuthority::createFromExternalForm(
    const AuthorizationExternalForm& form) {
  const auto process = seal_.open(form);
  if (!process || !living_.contains(*process)) return AuthorizationStatus::internalizeNotAllowed;
  return std::unique_ptr<Authorization>(std::make_unique<Reference>(*this, *process));
}

Result<std::unique_ptr<Authorization>, AuthorizationStatus> LinuxAuthority::create() {
  const auto process = static_cast<std::int32_t>(getpid());
  const auto startTime = startTimeOfProcess(process);
  if (!startTime) return AuthorizationStatus::internal;
  const PeerIdentity self{getuid(), process, *startTime};
  return std::unique_ptr<Authorization>(std::make_unique<Reference>(*this, self));
}

AuthorizationStatus LinuxAuthority::evaluate(const PeerIdentity& process,
                                             const std::string& rightName) {
  if (process.userID == 0) return AuthorizationStatus::noError;
  const auto definition = rights_.definition(rightName);
  const auto* rule = definition ? definition->string() : nullptr;
  const bool everybodys = rule && *rule == "allow";
  return everybodys ? AuthorizationStatus::noError : AuthorizationStatus::denied;
}

AuthorizationStatus LinuxAuthority::rightGet(const std::string& name) {
  return rights_.definition(name) ? AuthorizationStatus::noError : AuthorizationStatus::denied;
}

AuthorizationStatus LinuxAuthority::rightSet(Authorization&, const std::string& name,
                                             const PropertyValue& definition,
                                             const std::string& description,
                                             const std::string& localizationTable) {
  if (geteuid() != 0) return AuthorizationStatus::denied;
  return rights_.set(name, definition, description, localizationTable)
             ? AuthorizationStatus::noError
             : AuthorizationStatus::internal;
}

AuthorizationStatus LinuxAuthority::rightRemove(Authorization&, const std::string& name) {
  if (geteuid() != 0) return AuthorizationStatus::denied;
  return rights_.remove(name) ? AuthorizationStatus::noError : AuthorizationStatus::internal;
}

}  // namespace qrt
