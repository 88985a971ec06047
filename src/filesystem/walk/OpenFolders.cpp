#include "filesystem/walk/OpenFolders.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace qrt {
namespace {

/// The folder that holds the top of the walk, and another one of the caller.
constexpr std::size_t heldByCaller = 2;

constexpr std::size_t capacityFor(std::size_t workers, std::size_t heldByVisitor) {
  return OpenFolders::maximumDescriptors - heldByCaller - heldByVisitor * workers;
}

/// Each worker has one folder open. Not all of the rest may be kept: if every worker needs a second
/// folder, one of them must get it.
constexpr std::size_t keptForWaiting(std::size_t capacity, std::size_t workers) {
  return (capacity - workers) / 2;
}

static_assert(keptForWaiting(capacityFor(16, 2), 16) + 16 < capacityFor(16, 2));

}  // namespace

OpenFolders::OpenFolders(FileSystem& files, std::size_t workers, std::size_t heldByVisitor)
    : files_(files),
      capacity_(capacityFor(workers, heldByVisitor)),
      maximumKeptForWaiting_(keptForWaiting(capacity_, workers)) {
  open_.reserve(capacity_);
}

bool OpenFolders::addSubfolder(TreeFolder& parent) {
  const std::lock_guard lock(mutex_);
  addWaiting(parent);
  return keptForWaiting_ <= maximumKeptForWaiting_;
}

bool OpenFolders::addEntries(TreeFolder& parent) {
  const std::lock_guard lock(mutex_);
  if (parent.waiting == 0 && keptForWaiting_ >= maximumKeptForWaiting_) return false;
  addWaiting(parent);
  return true;
}

void OpenFolders::useForEntries(TreeFolder& parent) {
  const std::lock_guard lock(mutex_);
  ++parent.users;
  stopWaiting(parent);
}

PosixCode OpenFolders::open(TreeFolder& folder, FileAt at) {
  {
    Lock lock(mutex_);
    const auto code = makeRoom(lock);
    if (code != PosixCode::success) return code;
    open_.push_back(&folder);
    folder.users = 1;
  }
  auto opened = files_.openFolder(at, Links::stay);
  if (opened) folder.folder.emplace(std::move(*opened));
  const std::lock_guard lock(mutex_);
  if (!opened) {
    forget(folder);
    return opened.error();
  }
  if (folder.parent != nullptr) stopWaiting(*folder.parent);
  return PosixCode::success;
}

PosixCode OpenFolders::useParent(TreeFolder& folder) {
  auto& parent = *folder.parent;
  Lock lock(mutex_);
  ++parent.users;
  if (parent.folder->isOpen()) return PosixCode::success;
  const auto code = makeRoom(lock);
  // Another worker may have been faster.
  if (code != PosixCode::success || parent.folder->isOpen()) return code;
  const auto reopened = parent.folder->reopen(files_, **folder.folder);
  if (reopened == PosixCode::success) open_.push_back(&parent);
  return reopened;
}

void OpenFolders::stopUsing(TreeFolder& folder) {
  const std::lock_guard lock(mutex_);
  --folder.users;
  if (!isInUse(folder)) changed_.notify_one();
}

bool OpenFolders::finishPart(TreeFolder& folder, bool continues) {
  const std::lock_guard lock(mutex_);
  if (--folder.pending == 0) return true;
  if (!continues) --folder.users;
  if (!isInUse(folder)) changed_.notify_one();
  return false;
}

void OpenFolders::visitAgain(TreeFolder& folder) {
  const std::lock_guard lock(mutex_);
  folder.pending = 1;
}

void OpenFolders::remove(TreeFolder* folder) {
  const std::unique_ptr<TreeFolder> owner(folder);
  const bool wasOpened = folder->folder.has_value();
  folder->folder.reset();
  const std::lock_guard lock(mutex_);
  if (wasOpened) {
    forget(*folder);
  } else if (folder->parent != nullptr) {
    stopWaiting(*folder->parent);
  }
}

PosixCode OpenFolders::makeRoom(Lock& lock) {
  auto code = PosixCode::success;
  while (open_.size() >= capacity_ && !closeOldest(code)) changed_.wait(lock);
  return code;
}

/// False when all folders are in use.
bool OpenFolders::closeOldest(PosixCode& code) {
  const auto oldest = std::find_if(open_.begin(), open_.end(),
                                   [](const auto* folder) { return !isInUse(*folder); });
  if (oldest == open_.end()) return false;
  code = (*oldest)->folder->close();
  if (code == PosixCode::success) open_.erase(oldest);
  return true;
}

void OpenFolders::forget(const TreeFolder& folder) {
  const auto found = std::find(open_.rbegin(), open_.rend(), &folder);
  if (found == open_.rend()) return;
  open_.erase(std::next(found).base());
  changed_.notify_one();
}

void OpenFolders::addWaiting(TreeFolder& parent) {
  ++parent.pending;
  if (parent.waiting++ == 0) ++keptForWaiting_;
}

void OpenFolders::stopWaiting(TreeFolder& parent) {
  if (--parent.waiting != 0) return;
  --keptForWaiting_;
  if (!isInUse(parent)) changed_.notify_one();
}

}  // namespace qrt
