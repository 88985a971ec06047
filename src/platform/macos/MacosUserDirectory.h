// Users of the password database and of the identity authority.
#pragma once

#include "platform/posix/PosixUserDirectory.h"

namespace qrt {

class MacosUserDirectory final : public PosixUserDirectory {
 public:
  UserIDs listedUserIDs() override;
};

}  // namespace qrt
