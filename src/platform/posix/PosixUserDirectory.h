// Users of the password database.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "base/Result.h"
#include "platform/UserDirectory.h"

namespace qrt {

struct Account {
  uid_t user;
  gid_t group;
  std::string home;
};

/// No value when the database has no such account, an error when it cannot be asked.
PosixResult<std::optional<Account>> accountOf(std::uint32_t userID);
PosixResult<std::optional<Account>> accountNamed(const std::string& name);

class PosixUserDirectory : public UserDirectory {
 public:
  UserIDs listedUserIDs() override;
  bool isKnownUserID(std::uint32_t userID) override;

 private:
  /// The database has one position, and not all of its sources are thread-safe.
  std::mutex mutex_;
};

}  // namespace qrt
