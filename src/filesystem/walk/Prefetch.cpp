#include "filesystem/walk/Prefetch.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// The bounds of one recording, beside that of its open folders.
constexpr std::size_t maximumObjects = 2048;
constexpr std::size_t enoughNameBytes = 32 * 1024;
constexpr std::chrono::seconds maximumAge{1};

/// Shorter walks end before another thread pays.
constexpr unsigned foldersOfLongWalk = 64;
/// The folders that the walk is in and those that are listed ahead.
constexpr std::size_t maximumStreams = 500;

/// Waking a thread takes as long as listing a dozen folders, so threads poll for a short time
/// before they sleep.
template <class Condition>
bool poll(Condition isMet) {
  constexpr std::chrono::microseconds patience{100};
  const auto end = Clock::now() + patience;
  while (!isMet()) {
    if (Clock::now() >= end) return false;
    std::this_thread::yield();  // To a thread that sends records, or to their reader.
  }
  return true;
}

}  // namespace

PrefetchedFolder::PrefetchedFolder(FileSystem& files, const WalkBounds& bounds,
                                   UpcomingFolder folder, Statuses statuses, Holders holders,
                                   std::size_t maximumFolders)
    : files_(files),
      folder_(std::move(folder)),
      wanted_(statuses),
      holders_(statuses == Statuses::read ? Holders::ofFolders : holders),
      maximumFolders_(maximumFolders),
      cursor_(files, bounds) {}

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
  while (hasRoom() && !isWanted && cursor_.advance()) {
    if (cursor_.isObjectToBeEntered()) cursor_.enterObject();
    keep(cursor_.entry());
  }
}

bool PrefetchedFolder::hasRoom() const {
  return entries_.size() < maximumObjects && names_.size() < enoughNameBytes &&
         held_.size() < maximumFolders_;
}

void PrefetchedFolder::keep(const WalkEntry& entry) {
  auto& kept = entries_.emplace_back(entry);
  names_.append(entry.name, std::strlen(entry.name) + 1);
  if (wanted_ == Statuses::read) {
    const auto status = files_.status(entry.object(), Links::stay);
    statuses_.push_back(status ? std::optional(*status) : std::nullopt);
    if (status) kept.type = status->type();
  }
  const bool mayBeFolder = kept.type == 0 || kept.type == file_type::folder;
  if (holders_ == Holders::ofFolders && !mayBeFolder) kept.holder.reset();
  const auto* holder = kept.holder.get();
  const bool isHeld = std::find(held_.rbegin(), held_.rend(), holder) != held_.rend();
  if (holder != nullptr && !isHeld) held_.push_back(holder);
}

bool PrefetchedFolder::isUsable() const {
  return state == State::done && isEntered_ && !isBroken_ &&
         cursor_.failure() == PosixCode::success && Clock::now() - begin_ < maximumAge;
}

const WalkEntry* PrefetchedFolder::next() {
  // The folders that nothing refers to any more are closed on the way.
  if (next_ != 0) entries_[next_ - 1].holder.reset();
  if (isAtEnd()) return nullptr;
  auto& entry = entries_[next_];
  const auto levels = entry.depth.levels() - folder_.depth.levels() - 1;
  if (levels != within_.size()) holder_.reset();
  if (levels > within_.size()) within_.push_back(entries_[next_ - 1].name);
  within_.resize(levels);
  entry.name = names_.data() + nextName_;
  nextName_ += std::strlen(entry.name) + 1;
  if (!statuses_.empty() && statuses_[next_]) entry.status = &*statuses_[next_];
  ++next_;
  return &entry;
}

PosixResult<FileStatus> PrefetchedFolder::readStatus() {
  const auto& entry = entries_[next_ - 1];
  if (!holder_) {
    auto opened = openHolder();
    if (!opened) return opened.error();
    holder_ = std::move(*opened);
  }
  return files_.status({*holder_, entry.name}, Links::stay);
}

PosixResult<Folder> PrefetchedFolder::openHolder() const {
  auto folder = files_.openFolder({*folder_.holder, folder_.name.c_str()}, Links::stay);
  for (const auto* name : within_) {
    if (!folder) break;
    folder = files_.openFolder({*folder, name}, Links::stay);
  }
  return folder;
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
  work_.notify_all();
  helpers_.waitForAll();
}

void Prefetch::prepare(const HierarchyCursor& walk) {
  if (!isLongWalk()) return;
  using Holders = PrefetchedFolder::Holders;
  constexpr Width inMemory{
      .inOneFolder = 1, .recordings = 4, .folders = 100, .holders = Holders::ofAll, .waiting = 0};
  constexpr Width forDisk{.inOneFolder = 16,
                          .recordings = 32,
                          .folders = 14,
                          .holders = Holders::ofFolders,
                          .waiting = 4};
  const auto& width = count_.isWaiting() ? forDisk : inMemory;
  const auto streams = walk.levels() + width.recordings * width.folders;
  if (streams > maximumStreams || waiting_ > width.waiting) return;
  while (prepareOne(walk, width) && (width.waiting != 0 || waiting_ == 0)) {
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
  if (recordings_.size() >= width.recordings) return false;
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
                                                      width.holders, width.folders);
  {
    const std::lock_guard lock(mutex_);
    recordings_.insert(before, std::move(recording));
    ++waiting_;
  }
  work_.notify_one();
  helpers_.addOne();
}

std::unique_ptr<PrefetchedFolder> Prefetch::take(const WalkEntry& folder) {
  // The walk has passed what is further down, in another folder, or before this folder.
  forget(folder.depth.levels());
  while (!recordings_.empty()) {
    const auto& last = recordings_.back()->folder();
    if (last.depth.levels() != folder.depth.levels() || last.holder == folder.holder) break;
    dropLast();
  }
  const auto found = std::find_if(recordings_.begin(), recordings_.end(),
                                  [&](const auto& recording) { return recording->isOf(folder); });
  if (found == recordings_.end()) return nullptr;
  while (!recordings_.back()->isOf(folder)) dropLast();
  auto recording = takeLast();
  return recording->isUsable() ? std::move(recording) : nullptr;
}

bool Prefetch::forget(std::size_t levels) {
  const auto before = recordings_.size();
  while (!recordings_.empty() && recordings_.back()->folder().depth.levels() > levels) dropLast();
  return recordings_.size() != before;
}

void Prefetch::dropLast() {
  recordings_.back()->isWanted = true;
  takeLast();
}

std::unique_ptr<PrefetchedFolder> Prefetch::takeLast() {
  using State = PrefetchedFolder::State;
  auto& last = *recordings_.back();
  const auto isFree = [&] { return last.state != State::recording; };
  if (!count_.isWaiting()) {
    last.isWanted = true;
    if (!isFree()) meter_.whileIdle([&] { return poll(isFree); });
  }
  std::unique_lock lock(mutex_);
  if (!isFree()) {
    meter_.whileIdle([&] {
      done_.wait(lock, isFree);
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
  while (!count_.hasTooMany()) {
    if (!hasWork() && !meter.whileIdle([this] { return waitForWork(); })) return;
    if (isOver_) return;
    auto* recording = nextToRecord();
    if (recording == nullptr) continue;
    recording->record();
    if (meter.isDue()) meter.note();
    const std::lock_guard lock(mutex_);
    recording->state = PrefetchedFolder::State::done;
    done_.notify_one();
  }
}

/// False if no work comes for a while.
bool Prefetch::waitForWork() {
  const auto isMet = [this] { return hasWork(); };
  if (!count_.isWaiting() && poll(isMet)) return true;
  std::unique_lock lock(mutex_);
  return work_.wait_for(lock, Helpers::patience, isMet);
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
