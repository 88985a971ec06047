#include "filesystem/walk/Prefetch.h"

#include <cstring>
#include <system_error>
#include <utility>

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// The bounds of one recording.
constexpr std::size_t maximumObjects = 1024;
constexpr std::size_t maximumFolders = 128;
constexpr std::size_t enoughNameBytes = 32 * 1024;
constexpr std::chrono::seconds maximumAge{1};

/// Shorter walks end before a second thread pays.
constexpr unsigned foldersOfLongWalk = 64;
/// Recordings take memory, and their folders stay open.
constexpr std::size_t enoughFolders = 4;

}  // namespace

WorkerThread::~WorkerThread() {
  if (!thread_.joinable()) return;
  waitWhile(State::working);
  become(State::over);
  thread_.join();
}

void WorkerThread::begin(std::function<void()> work) {
  work_ = std::move(work);
  try {
    if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
    become(State::working);
  } catch (const std::system_error&) {
    work_();
  }
}

void WorkerThread::wait() {
  waitWhile(State::working);
  if (auto problem = std::exchange(problem_, nullptr)) std::rethrow_exception(problem);
}

void WorkerThread::run() {
  for (;;) {
    waitWhile(State::free);
    if (state_ == State::over) return;
    try {
      work_();
    } catch (...) {
      problem_ = std::current_exception();
    }
    become(State::free);
  }
}

void WorkerThread::become(State state) {
  {
    const std::lock_guard lock(mutex_);
    state_ = state;
  }
  changed_.notify_one();
}

void WorkerThread::waitWhile(State state) {
  constexpr std::chrono::microseconds patience{100};
  const auto end = Clock::now() + patience;
  do {
    if (state_ != state) return;
    std::this_thread::yield();  // To a thread that sends records, or to their reader.
  } while (Clock::now() < end);
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return state_ != state; });
}

PrefetchedFolder::PrefetchedFolder(FileSystem& files, const WalkBounds& bounds,
                                   UpcomingFolder folder, Statuses statuses)
    : files_(files), folder_(std::move(folder)), wanted_(statuses), cursor_(files, bounds) {
  entries_.reserve(maximumObjects);
  names_.reserve(enoughNameBytes);
  if (wanted_ == Statuses::read) statuses_.reserve(maximumObjects);
}

bool PrefetchedFolder::isOf(const WalkEntry& folder) const {
  return folder_.holder == folder.holder && folder_.name == folder.name;
}

void PrefetchedFolder::record(const std::atomic<bool>& isWanted) {
  begin_ = Clock::now();
  isEntered_ = cursor_.enterFolder(folder_);
  for (std::size_t folders = 1; folders < maximumFolders && hasRoom() && !isWanted;) {
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
  return isEntered_ && cursor_.failure() == PosixCode::success &&
         Clock::now() - begin_ < maximumAge;
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

void Prefetch::prepare(const HierarchyCursor& walk) {
  static const bool hasTwoProcessors = std::thread::hardware_concurrency() > 1;
  const bool isLongWalk = enteredFolders_ == foldersOfLongWalk;
  if (!isLongWalk) ++enteredFolders_;
  const bool hasRoom = worker_.isFree() && folders_.size() < enoughFolders;
  if (!isLongWalk || !hasTwoProcessors || !hasRoom) return;

  const auto from = folders_.empty() ? 0 : folders_.back()->depth().levels();
  auto folder = walk.upcomingFolder(from);
  if (!folder) return;

  folders_.push_back(
      std::make_unique<PrefetchedFolder>(files_, bounds_, std::move(*folder), statuses_));
  worker_.begin([this, recording = folders_.back().get()] { recording->record(isWanted_); });
}

std::unique_ptr<PrefetchedFolder> Prefetch::take(const WalkEntry& folder) {
  if (folders_.empty() || !folders_.back()->isOf(folder)) return nullptr;
  auto recording = takeLast();
  return recording->isUsable() ? std::move(recording) : nullptr;
}

bool Prefetch::forget(std::size_t levels) {
  const auto before = folders_.size();
  while (!folders_.empty() && folders_.back()->depth().levels() > levels) takeLast();
  return folders_.size() != before;
}

std::unique_ptr<PrefetchedFolder> Prefetch::takeLast() {
  isWanted_ = true;
  worker_.wait();
  isWanted_ = false;
  auto recording = std::move(folders_.back());
  folders_.pop_back();
  return recording;
}

}  // namespace qrt
