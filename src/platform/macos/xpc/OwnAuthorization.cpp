#include "platform/macos/xpc/OwnAuthorization.h"

#include <iterator>

namespace qrt {

OwnAuthorization::~OwnAuthorization() {
  if (reference_) AuthorizationFree(reference_, kAuthorizationFlagDefaults);
}

Result<Data> OwnAuthorization::externalForm() {
  if (!reference_) {
    const auto status = AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment,
                                            kAuthorizationFlagDefaults, &reference_);
    if (status != errAuthorizationSuccess) return osStatusError(status);
  }
  AuthorizationExternalForm form;
  const auto status = AuthorizationMakeExternalForm(reference_, &form);
  if (status != errAuthorizationSuccess) return osStatusError(status);
  return Data(std::begin(form.bytes), std::end(form.bytes));
}

}  // namespace qrt
