// Users of the password database.
#pragma once

#include <mutex>

#include "platform/UserDirectory.h"

namespace qrt {

class PosixUserDirectory : public UserDirectory {
 public:
  UserIDs listedUserIDs() override;
  bool isKnownUserID(std::uint32_t userID) override;

 private:
  /// The database has one position, and what stands behind it is not always made for two threads.
  std::mutex mutex_;
};

}  // namespace qrt
