// This process's own authorization.
#pragma once

#include <Security/Authorization.h>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Its external form is valid as long as this object lives.
class OwnAuthorization {
 public:
  OwnAuthorization() = default;
  OwnAuthorization(const OwnAuthorization&) = delete;
  OwnAuthorization& operator=(const OwnAuthorization&) = delete;
  ~OwnAuthorization();

  Result<Data> externalForm();

 private:
  AuthorizationRef reference_ = nullptr;
};

}  // namespace qrt
