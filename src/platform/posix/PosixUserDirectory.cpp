#include "platform/posix/PosixUserDirectory.h"

#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// `lookUp` is one of the re-entrant calls on the password database without its last arguments.
template <class LookUp>
PosixResult<std::optional<Account>> accountFrom(LookUp lookUp) {
  constexpr std::size_t unreasonable = 16 << 20;
  int failure = ERANGE;
  for (std::size_t size = 1024; failure == ERANGE && size < unreasonable; size *= 4) {
    std::vector<char> texts(size);
    passwd entry{};
    passwd* found = nullptr;
    failure = lookUp(&entry, texts.data(), texts.size(), &found);
    if (found) return std::optional(Account{found->pw_uid, found->pw_gid, found->pw_dir});
  }
  if (failure != 0) return contractCode(failure);
  return std::optional<Account>();
}

}  // namespace

PosixResult<std::optional<Account>> accountOf(std::uint32_t userID) {
  return accountFrom([userID](auto... space) { return ::getpwuid_r(userID, space...); });
}

PosixResult<std::optional<Account>> accountNamed(const std::string& name) {
  return accountFrom([&name](auto... space) { return ::getpwnam_r(name.c_str(), space...); });
}

UserIDs PosixUserDirectory::listedUserIDs() {
  const std::lock_guard lock(mutex_);
  UserIDs ids;
  ::setpwent();
  while (const auto* user = ::getpwent()) ids.insert(user->pw_uid);
  ::endpwent();
  return ids;
}

bool PosixUserDirectory::isKnownUserID(std::uint32_t userID) {
  const std::lock_guard lock(mutex_);
  const auto account = accountOf(userID);
  return !account || account->has_value();
}

}  // namespace qrt
