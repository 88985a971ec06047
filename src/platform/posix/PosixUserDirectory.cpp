#include "platform/posix/PosixUserDirectory.h"

#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace qrt {

UserIDs PosixUserDirectory::listedUserIDs() {
  const std::lock_guard lock(mutex_);
  UserIDs ids;
  ::setpwent();
  while (const auto* user = ::getpwent()) ids.insert(user->pw_uid);
  ::endpwent();
  return ids;
}

bool PosixUserDirectory::isKnownUserID(std::uint32_t userID) {
  constexpr std::size_t unreasonable = 16 * 1024 * 1024;
  const std::lock_guard lock(mutex_);
  int failure = ERANGE;
  passwd entry{};
  passwd* found = nullptr;
  for (std::size_t size = 1024; failure == ERANGE && size < unreasonable; size *= 4) {
    std::vector<char> texts(size);
    failure = ::getpwuid_r(userID, &entry, texts.data(), texts.size(), &found);
  }
  return failure != 0 || found != nullptr;
}

}  // namespace qrt
