#include "filesystem/walk/Branch.h"

#include <cstring>
#include <utility>

namespace qrt {
namespace {

constexpr std::size_t maximumObjects = 1024;
constexpr std::size_t maximumFolders = 128;
constexpr std::size_t enoughNameBytes = 32 * 1024;

constexpr std::chrono::seconds maximumAge{1};

}  // namespace

Branch::Branch(FileSystem& files, const WalkScope& scope, FolderToCome folder, Statuses statuses)
    : files_(files), folder_(std::move(folder)), wanted_(statuses), cursor_(files, scope) {
  sightings_.reserve(maximumObjects);
  names_.reserve(enoughNameBytes);
  if (wanted_ == Statuses::read) statuses_.reserve(maximumObjects);
}

bool Branch::isOf(const Sighting& folder) const {
  return folder_.holder == folder.holder && folder_.name == folder.name;
}

void Branch::record(const std::atomic<bool>& isWanted) {
  begin_ = Clock::now();
  isEntered_ = cursor_.enterFolder(folder_);
  for (std::size_t folders = 1; folders < maximumFolders && hasRoom() && !isWanted;) {
    if (!cursor_.advance()) return;
    if (cursor_.isObjectToBeEntered()) cursor_.enterObject();
    keep(cursor_.sighting());
    if (cursor_.sighting().isEntered) ++folders;
  }
}

bool Branch::hasRoom() const {
  return sightings_.size() < maximumObjects && names_.size() < enoughNameBytes;
}

void Branch::keep(const Sighting& sighting) {
  auto& kept = sightings_.emplace_back(sighting);
  names_.append(sighting.name, std::strlen(sighting.name) + 1);
  if (wanted_ == Statuses::leave) return;
  if (const auto status = files_.status(sighting.object(), Links::stay)) {
    kept.status = &statuses_.emplace_back(*status);
  }
}

bool Branch::isUsable() const {
  return isEntered_ && cursor_.failure() == PosixCode::success &&
         Clock::now() - begin_ < maximumAge;
}

const Sighting* Branch::next() {
  // The folders that nothing refers to any more are closed on the way.
  if (next_ != 0) sightings_[next_ - 1].holder.reset();
  if (isAtEnd()) return nullptr;
  auto& sighting = sightings_[next_++];
  sighting.name = names_.data() + nextName_;
  nextName_ += std::strlen(sighting.name) + 1;
  return &sighting;
}

void Branch::skipTo(std::size_t levels) {
  while (!isAtEnd() && sightings_[next_].depth.levels() > levels) next();
}

}  // namespace qrt
