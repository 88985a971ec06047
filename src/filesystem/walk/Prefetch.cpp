#include "filesystem/walk/Prefetch.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// The bounds of one recording, beside that of its folders.
constexpr std::size_t maximumObjects = 1024;
constexpr std::size_t enoughNameBytes = 32 * 1024;
constexpr std::chrono::seconds maximumAge{1};

/// Shorter walks end before another thread pays.
constexpr unsigned foldersOfLongWalk = 64;
/// The folders that the walk is in and those that are listed ahead.
constexpr std::size_t maximumStreams = 500;

/// Waking a thread takes as long as listing a dozen folders, so threads poll for a short time
/// before they sleep.
template <class Condition>
void poll(Condition isMet) {
  constexpr std::chrono::microseconds patience{100};
  const auto end = Clock::now() + patience;
  while (!isMet() && Clock::now() < end) {
    std::this_thread::yield();  // To a thread that sends records, or to their reader.
  }
}

}  // namespace

PrefetchedFolder::PrefetchedFolder(FileSystem& files, const WalkBounds& bounds,
                                   UpcomingFolder folder, Statuses statuses,
                                   std::size_t maximumFolders)
    : files_(files),
      folder_(std::move(folder)),
      wanted_(statuses),
      maximumFolders_(maximumFolders),
      cursor_(files, bounds) {
  entries_.reserve(maximumObjects);
  names_.reserve(enoughNameBytes);
  if (wanted_ == Statuses::read) statuses_.reserve(maximumObjects);
}

bool PrefetchedFolder::isOf(const WalkEntry& folder) const {
  return folder_.holder == folder.holder && folder_.name == folder.name;
}

void PrefetchedFolder::record() {
  begin_ = Clock::now();
  try {
    recordObjects();
  } catch (const std::bad_alloc&) {
    isBroken_ = true;
  }
}

void PrefetchedFolder::recordObjects() {
  isEntered_ = cursor_.enterFolder(folder_);
  for (std::size_t folders = 1; folders < maximumFolders_ && hasRoom() && !isWanted;) {
    if (!cursor_.advance()) return;
    if (cursor_.isObjectToBeEntered()) cursor_.enterObject();
    keep(cursor_.entry());
    if (cursor_.entry().isEntered) ++folders;
  }
}

bool PrefetchedFolder::hasRoom() const {
  return entries_.size() < maximumObjects && names_.size() < enoughNameBytes;
}

void PrefetchedFolder::keep(const WalkEntry& entry) {
  auto& kept = entries_.emplace_back(entry);
  names_.append(entry.name, std::strlen(entry.name) + 1);
  if (wanted_ == Statuses::leave) return;
  if (const auto status = files_.status(entry.object(), Links::stay)) {
    kept.status = &statuses_.emplace_back(*status);
  }
}

bool PrefetchedFolder::isUsable() const {
  return state == State::done && isEntered_ && !isBroken_ &&
         cursor_.failure() == PosixCode::success && Clock::now() - begin_ < maximumAge;
}

const WalkEntry* PrefetchedFolder::next() {
  // The folders that nothing refers to any more are closed on the way.
  if (next_ != 0) entries_[next_ - 1].holder.reset();
  if (isAtEnd()) return nullptr;
  auto& entry = entries_[next_++];
  entry.name = names_.data() + nextName_;
  nextName_ += std::strlen(entry.name) + 1;
  return &entry;
}

void PrefetchedFolder::skipTo(std::size_t levels) {
  while (!isAtEnd() && entries_[next_].depth.levels() > levels) next();
}

Prefetch::Prefetch(FileSystem& files, const WalkBounds& bounds, WorkerShare workers)
    : files_(files), bounds_(bounds), count_(workers) {}

Prefetch::~Prefetch() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    for (const auto& recording : recordings_) recording->isWanted = true;
  }
  changed_.notify_all();
  helpers_.waitForAll();
}

void Prefetch::prepare(const HierarchyCursor& walk) {
  if (!isLongWalk()) return;
  constexpr Width inMemory{.inOneFolder = 1, .recordings = 4, .folders = 100};
  constexpr Width waiting{.inOneFolder = 12, .recordings = 32, .folders = 14};
  const auto& width = count_.isWaiting() ? waiting : inMemory;
  const auto streams = walk.levels() + width.recordings * width.folders;
  if (streams > maximumStreams) return;
  while (prepareOne(walk, width)) {
  }
}

bool Prefetch::isLongWalk() {
  if (meter_.isDue()) {
    meter_.note();
    enteredFolders_ = foldersOfLongWalk;
  }
  if (enteredFolders_ == foldersOfLongWalk) return true;
  ++enteredFolders_;
  return false;
}

/// Adds the upcoming folder of the outermost folder that has too few recordings.
bool Prefetch::prepareOne(const HierarchyCursor& walk, const Width& width) {
  const bool isBusy = !count_.isWaiting() && waiting_ != 0;
  if (isBusy || recordings_.size() >= width.recordings) return false;
  auto next = recordings_.begin();
  for (std::size_t level = 0; level < walk.levels(); ++level) {
    const auto first = next;
    const auto isHere = [&](const auto& recording) {
      return recording->folder().depth.levels() == level + 1;
    };
    next = std::find_if_not(first, recordings_.end(), isHere);
    if (static_cast<std::size_t>(next - first) >= width.inOneFolder) continue;
    const auto* last = first == next ? nullptr : (*first)->folder().name.c_str();
    if (auto folder = walk.upcomingFolder(level, last)) {
      add(first, std::move(*folder), width);
      return true;
    }
  }
  return false;
}

void Prefetch::add(Recordings::iterator before, UpcomingFolder folder, const Width& width) {
  auto recording = std::make_unique<PrefetchedFolder>(files_, bounds_, std::move(folder), statuses_,
                                                      width.folders);
  {
    const std::lock_guard lock(mutex_);
    recordings_.insert(before, std::move(recording));
    ++waiting_;
  }
  changed_.notify_one();
  helpers_.addOne();
}

std::unique_ptr<PrefetchedFolder> Prefetch::take(const WalkEntry& folder) {
  // The walk has passed what is further down, in another folder, or before this folder.
  forget(folder.depth.levels());
  while (!recordings_.empty()) {
    const auto& last = recordings_.back()->folder();
    if (last.depth.levels() != folder.depth.levels() || last.holder == folder.holder) break;
    takeLast();
  }
  const auto found = std::find_if(recordings_.begin(), recordings_.end(),
                                  [&](const auto& recording) { return recording->isOf(folder); });
  if (found == recordings_.end()) return nullptr;
  while (!recordings_.back()->isOf(folder)) takeLast();
  auto recording = takeLast();
  return recording->isUsable() ? std::move(recording) : nullptr;
}

bool Prefetch::forget(std::size_t levels) {
  const auto before = recordings_.size();
  while (!recordings_.empty() && recordings_.back()->folder().depth.levels() > levels) takeLast();
  return recordings_.size() != before;
}

std::unique_ptr<PrefetchedFolder> Prefetch::takeLast() {
  using State = PrefetchedFolder::State;
  auto& last = *recordings_.back();
  const auto isFree = [&] { return last.state != State::recording; };
  last.isWanted = true;
  if (!count_.isWaiting()) poll(isFree);
  std::unique_lock lock(mutex_);
  if (!isFree()) {
    meter_.whileIdle([&] {
      changed_.wait(lock, isFree);
      return true;
    });
  }
  if (last.state == State::waiting) --waiting_;
  auto recording = std::move(recordings_.back());
  recordings_.pop_back();
  return recording;
}

void Prefetch::help() {
  WorkerMeter meter(count_);
  const auto hasWork = [this] { return isOver_ || waiting_ != 0; };
  while (!count_.hasTooMany()) {
    if (!count_.isWaiting()) poll(hasWork);
    if (!hasWork()) {
      std::unique_lock lock(mutex_);
      const auto wait = [&] { return changed_.wait_for(lock, Helpers::patience, hasWork); };
      if (!meter.whileIdle(wait)) return;
    }
    if (isOver_) return;
    auto* recording = nextToRecord();
    if (recording == nullptr) continue;
    recording->record();
    if (meter.isDue()) meter.note();
    {
      const std::lock_guard lock(mutex_);
      recording->state = PrefetchedFolder::State::done;
    }
    changed_.notify_all();
  }
}

/// The one that the walk reaches first; null if none waits.
PrefetchedFolder* Prefetch::nextToRecord() {
  using State = PrefetchedFolder::State;
  const std::lock_guard lock(mutex_);
  const auto next =
      std::find_if(recordings_.rbegin(), recordings_.rend(),
                   [](const auto& recording) { return recording->state == State::waiting; });
  if (next == recordings_.rend()) return nullptr;
  (*next)->state = State::recording;
  --waiting_;
  return next->get();
}

}  // namespace qrt
