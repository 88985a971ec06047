#include "filesystem/OrphanedFolder.h"

#include <cstddef>
#include <utility>

#include "filesystem/walk/QRTDirectoryEnumerator.h"

namespace qrt {
namespace {

PosixResult<std::size_t> numberOfEntries(const Platform& platform, FileAt object) {
  auto folder = platform.files.openFolder(object, Links::stay);
  if (!folder) return folder.error();
  for (std::size_t count = 0;; ++count) {
    if (platform.stop.isSet()) return PosixCode::canceled;
    const auto entry = folder->next();
    if (!entry) return entry.error();
    if (!*entry) return count;
  }
}

}  // namespace

UserIDs allKnownUserIDs(UserDirectory& users) { return users.listedUserIDs(); }

KnownUserIDs::KnownUserIDs(UserIDs ids, UserDirectory* users)
    : known_(std::move(ids)), users_(users) {}

bool KnownUserIDs::contains(std::uint32_t userID) {
  if (known_.contains(userID)) return true;
  if (users_ == nullptr || unknown_.contains(userID)) return false;
  const bool isKnown = users_->isKnownUserID(userID);
  (isKnown ? known_ : unknown_).insert(userID);
  return isKnown;
}

bool isFolderAtPath(const Platform& platform, const std::string& path,
                    KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet) {
  const auto folder = platform.files.resolvedPath(path);
  if (!folder) return false;
  const auto answer =
      isFolderAtObject(platform, folder->c_str(), path, emptyOrAllContentsNotOwnedByUsersInSet);
  return answer && *answer;
}

PosixResult<bool> isFolderAtObject(const Platform& platform, FileAt folder, const std::string& path,
                                   KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet) {
  auto& users = emptyOrAllContentsNotOwnedByUsersInSet;
  if (users.isEmpty()) return false;
  const auto count = numberOfEntries(platform, folder);
  if (!count && isExhaustion(count.error())) return count.error();
  if (!count) return false;
  if (*count == 0) return true;

  const auto walk = QRTDirectoryEnumerator::enumeratorAtObject(platform, folder, path, true);
  while (walk && walk->advance()) {
    const auto status = walk->objectStatus();
    if (!status || users.contains(status->userID)) return false;
  }
  if (!walk) return false;
  if (walk->failure() != PosixCode::success) return walk->failure();
  return true;
}

}  // namespace qrt
