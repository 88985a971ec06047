// Authorization services with the statuses that a test sets.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/Authority.h"

namespace qrt::test {

/// Records every call in order. A map serves as the database of rights.
class FakeAuthority : public Authority {
 public:
  /// Name and bytes of the value with its zero byte.
  using Item = std::pair<std::string, std::string>;
  struct Call {
    /// "createFromExternalForm", "create", "copyRight", "free", "rightSet" or "rightRemove".
    std::string function;
    std::string rightName = {};
    std::uint32_t flags = 0;
    std::vector<Item> environment = {};
    friend bool operator==(const Call&, const Call&) = default;
  };
  struct Right {
    PropertyValue definition;
    std::string description;
    std::string localizationTable;
    friend bool operator==(const Right&, const Right&) = default;
  };

  AuthorizationStatus createFromExternalFormStatus = AuthorizationStatus::noError;
  AuthorizationStatus createStatus = AuthorizationStatus::noError;
  AuthorizationStatus copyRightStatus = AuthorizationStatus::noError;
  AuthorizationStatus rightSetStatus = AuthorizationStatus::noError;

  /// The file of a package's rights.
  std::string package;
  std::string packagedRights() const override { return package; }

  const std::vector<Call>& calls() const { return calls_; }
  std::vector<Call> takeCalls() { return std::exchange(calls_, {}); }
  const std::map<std::string, Right>& rights() const { return rights_; }

  using Made = Result<std::unique_ptr<Authorization>, AuthorizationStatus>;
  Made createFromExternalForm(const Caller&, const AuthorizationExternalForm&, Log&) override {
    return reference("createFromExternalForm", createFromExternalFormStatus);
  }
  Made create() override { return reference("create", createStatus); }
  AuthorizationStatus rightGet(const std::string& name) override {
    return rights_.contains(name) ? AuthorizationStatus::noError : AuthorizationStatus::denied;
  }

  AuthorizationStatus rightSet(Authorization&, const std::string& name,
                               const PropertyValue& definition, const std::string& description,
                               const std::string& localizationTable) override {
    calls_.push_back({"rightSet", name});
    if (rightSetStatus == AuthorizationStatus::noError) {
      rights_.insert_or_assign(name, Right{definition, description, localizationTable});
    }
    return rightSetStatus;
  }

  AuthorizationStatus rightRemove(Authorization&, const std::string& name) override {
    calls_.push_back({"rightRemove", name});
    rights_.erase(name);
    return AuthorizationStatus::noError;
  }

 private:
  struct Reference : Authorization {
    FakeAuthority& authority;

    explicit Reference(FakeAuthority& itsAuthority) : authority(itsAuthority) {}
    AuthorizationStatus copyRight(const RequestedRight& right,
                                  const AuthorizationEnvironment& environment,
                                  std::uint32_t flags) override {
      Call call{"copyRight", right.name, flags};
      for (std::uint32_t i = 0; i < environment.count; ++i) {
        const auto& [name, length, value, reserved] = environment.items[i];
        call.environment.push_back({name, {static_cast<const char*>(value), length}});
      }
      authority.calls_.push_back(std::move(call));
      return authority.copyRightStatus;
    }
    void free(std::uint32_t flags) override { authority.calls_.push_back({"free", {}, flags}); }
  };

  Made reference(const char* function, AuthorizationStatus status) {
    calls_.push_back({function});
    if (status != AuthorizationStatus::noError) return status;
    return std::unique_ptr<Authorization>(std::make_unique<Reference>(*this));
  }

  std::vector<Call> calls_;
  std::map<std::string, Right> rights_;
};

}  // namespace qrt::test
