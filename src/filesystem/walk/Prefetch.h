// Lists folders before a walk reaches them, with a second thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "filesystem/walk/HierarchyCursor.h"

namespace qrt {

/// A thread that does one piece of work at a time for another thread, its owner. Waking a thread
/// takes as long as listing a dozen folders, so each of the two polls for a short time before it
/// sleeps.
///
/// The work sees what the owner wrote before `begin`; the owner sees what the work wrote once the
/// worker is free.
class WorkerThread {
 public:
  WorkerThread() = default;
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;
  /// Waits for the work.
  ~WorkerThread();

  bool isFree() const { return state_ == State::free; }

  /// Gives work to the worker, which must be free. If no thread can be started, the caller does it.
  void begin(std::function<void()> work);

  /// Returns when the worker is free, or throws what its work threw.
  void wait();

 private:
  enum class State { free, working, over };

  void run();
  void become(State state);
  void waitWhile(State state);

  std::atomic<State> state_ = State::free;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> work_;
  std::exception_ptr problem_;
  std::thread thread_;
};

/// What one thread records of a folder, for another thread to hand out. Bounded in memory and open
/// folders: its cursor continues where the recording ends. Belongs to one thread at a time.
class PrefetchedFolder {
 public:
  enum class Statuses { leave, read };

  /// Records nothing yet. `files` and `bounds` outlive it.
  PrefetchedFolder(FileSystem& files, const WalkBounds& bounds, UpcomingFolder folder,
                   Statuses statuses);
  PrefetchedFolder(const PrefetchedFolder&) = delete;
  PrefetchedFolder& operator=(const PrefetchedFolder&) = delete;

  bool isOf(const WalkEntry& folder) const;
  /// Of the folder that holds it.
  const WalkBounds::Depth& depth() const { return folder_.depth; }

  /// Records until there is enough, or until the walk wants the folder.
  void record(const std::atomic<bool>& isWanted);

  /// False if the recording failed, or began so long ago that the folder may have changed since.
  bool isUsable() const;

  /// The next recorded object, null at the end. Valid until the next call.
  const WalkEntry* next();
  bool isAtEnd() const { return next_ == entries_.size(); }
  /// Skips the recorded objects that are more than `levels` folders down.
  void skipTo(std::size_t levels);

  HierarchyCursor& cursor() { return cursor_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool hasRoom() const;
  void keep(const WalkEntry& entry);

  FileSystem& files_;
  const UpcomingFolder folder_;
  const Statuses wanted_;
  HierarchyCursor cursor_;
  bool isEntered_ = false;
  Clock::time_point begin_;

  std::vector<WalkEntry> entries_;
  std::size_t next_ = 0;
  /// Of the entries, each with its zero. The text may move while it grows, so an entry gets its
  /// name when `next` returns it.
  std::string names_;
  std::size_t nextName_ = 0;
  /// The entries point to these; never grows beyond its reserved size.
  std::vector<FileStatus> statuses_;
};

/// The folders that are listed ahead of a walk. Belongs to the thread that walks. The worker thread
/// starts when a walk proves to be long.
class Prefetch {
 public:
  Prefetch(FileSystem& files, const WalkBounds& bounds) : files_(files), bounds_(bounds) {}
  Prefetch(const Prefetch&) = delete;
  Prefetch& operator=(const Prefetch&) = delete;
  ~Prefetch() { isWanted_ = true; }

  void expectStatuses() { statuses_ = PrefetchedFolder::Statuses::read; }

  /// Starts listing a folder that the walk will reach, if that saves time. To be called whenever
  /// the walk has entered a folder.
  void prepare(const HierarchyCursor& walk);

  /// The recording of the folder that the walk has reached; null if there is no usable one.
  std::unique_ptr<PrefetchedFolder> take(const WalkEntry& folder);

  /// Drops the recordings in folders that are more than `levels` down. False if there was none.
  bool forget(std::size_t levels);

 private:
  std::unique_ptr<PrefetchedFolder> takeLast();

  FileSystem& files_;
  const WalkBounds& bounds_;
  PrefetchedFolder::Statuses statuses_ = PrefetchedFolder::Statuses::leave;
  unsigned enteredFolders_ = 0;
  std::atomic<bool> isWanted_ = false;
  /// Each is further down than the one before, so the walk reaches the last one first. Only the
  /// last one can still be recording.
  std::vector<std::unique_ptr<PrefetchedFolder>> folders_;
  WorkerThread worker_;
};

}  // namespace qrt
