#include "platform/Authority.h"

#include <Security/Security.h>

#include <cstring>
#include <utility>
#include <vector>

#include "platform/RightForecast.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

AuthorizationStatus statusFrom(OSStatus status) { return static_cast<AuthorizationStatus>(status); }

static_assert(sizeof(::AuthorizationExternalForm) == sizeof(AuthorizationExternalForm));
static_assert(kAuthorizationFlagInteractionAllowed == authorization_flag::interactionAllowed);
static_assert(kAuthorizationFlagExtendRights == authorization_flag::extendRights);
static_assert(kAuthorizationFlagDestroyRights == authorization_flag::destroyRights);

class MacosAuthorization : public Authorization {
 public:
  explicit MacosAuthorization(AuthorizationRef reference) : reference_(reference) {}
  MacosAuthorization(const MacosAuthorization&) = delete;
  MacosAuthorization& operator=(const MacosAuthorization&) = delete;
  ~MacosAuthorization() override { free(authorization_flag::none); }

  AuthorizationRef reference() const { return reference_; }

  /// The rights database has the sentence.
  AuthorizationStatus copyRight(const RequestedRight& requested,
                                const AuthorizationEnvironment& environment,
                                std::uint32_t flags) override {
    ::AuthorizationItem right{requested.name.c_str(), 0, nullptr, 0};
    const ::AuthorizationRights rights{1, &right};
    std::vector<::AuthorizationItem> items;
    for (std::uint32_t i = 0; i < environment.count; ++i) {
      const auto& item = environment.items[i];
      items.push_back({item.name, item.valueLength, item.value, item.flags});
    }
    const ::AuthorizationEnvironment native{environment.count, items.data()};
    return statusFrom(AuthorizationCopyRights(reference_, &rights, &native, flags, nullptr));
  }

  void free(std::uint32_t flags) override {
    if (reference_) AuthorizationFree(std::exchange(reference_, nullptr), flags);
  }

 private:
  AuthorizationRef reference_;
};

/// Every reference is a `MacosAuthorization`, made by this file.
AuthorizationRef referenceOf(Authorization& authorization) {
  return static_cast<MacosAuthorization&>(authorization).reference();
}

using Made = Result<std::unique_ptr<Authorization>, AuthorizationStatus>;

Made made(OSStatus status, AuthorizationRef reference) {
  // A failed call can also return a reference, which must be freed.
  auto authorization = std::make_unique<MacosAuthorization>(reference);
  if (status != errAuthorizationSuccess) {
    authorization->free(authorization_flag::destroyRights);
    return statusFrom(status);
  }
  return Made(std::move(authorization));
}

/// Authorization Services, whose numbers and records are those of the interface.
class MacosAuthority : public Authority {
 public:
  Made createFromExternalForm(const Caller&, const AuthorizationExternalForm& form, Log&) override {
    ::AuthorizationExternalForm native;
    std::memcpy(native.bytes, form.data(), form.size());
    AuthorizationRef reference = nullptr;
    const auto status = AuthorizationCreateFromExternalForm(&native, &reference);
    return made(status, reference);
  }

  Made create() override {
    AuthorizationRef reference = nullptr;
    const auto status = AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment,
                                            kAuthorizationFlagDefaults, &reference);
    return made(status, reference);
  }

  AuthorizationStatus rightGet(const std::string& name) override {
    return statusFrom(AuthorizationRightGet(name.c_str(), nullptr));
  }

  /// `invalidPointer` for texts that are not valid UTF-8.
  AuthorizationStatus rightSet(Authorization& authorization, const std::string& name,
                               const PropertyValue& definition, const std::string& description,
                               const std::string& localizationTable) override {
    const auto nativeDefinition = cfValue(definition);
    const auto descriptionKey = cfString(description);
    const auto table = cfString(localizationTable);
    if (!nativeDefinition || !descriptionKey || !table) return AuthorizationStatus::invalidPointer;
    return statusFrom(AuthorizationRightSet(referenceOf(authorization), name.c_str(),
                                            nativeDefinition.get(), descriptionKey.get(), nullptr,
                                            table.get()));
  }

  AuthorizationStatus rightRemove(Authorization& authorization, const std::string& name) override {
    return statusFrom(AuthorizationRightRemove(referenceOf(authorization), name.c_str()));
  }
};

RightForecast forecastFor(OSStatus status) {
  switch (status) {
    case errAuthorizationSuccess:
      return RightForecast::granted;
    case errAuthorizationInteractionNotAllowed:
      return RightForecast::needsPassword;
    case errAuthorizationDenied:
      return RightForecast::refused;
    default:
      return RightForecast::unknown;
  }
}

}  // namespace

/// Without the flag that allows interaction, the system shows no dialog. What is granted ends with
/// the reference.
RightForecast forecastOfRight(const std::string& right, RightRule) {
  AuthorizationRef reference = nullptr;
  if (AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment, kAuthorizationFlagDefaults,
                          &reference) != errAuthorizationSuccess) {
    return RightForecast::unknown;
  }
  ::AuthorizationItem item{right.c_str(), 0, nullptr, 0};
  const ::AuthorizationRights rights{1, &item};
  const auto status = AuthorizationCopyRights(reference, &rights, kAuthorizationEmptyEnvironment,
                                              kAuthorizationFlagExtendRights, nullptr);
  AuthorizationFree(reference, kAuthorizationFlagDestroyRights);
  return forecastFor(status);
}

std::unique_ptr<Authority> makeAuthority() { return std::make_unique<MacosAuthority>(); }

}  // namespace qrt
