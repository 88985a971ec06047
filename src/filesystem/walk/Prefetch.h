// Lists folders before a walk reaches them, with helpers.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "filesystem/walk/HierarchyCursor.h"
#include "filesystem/walk/Workers.h"

namespace qrt {

/// What a helper records of a folder, for the walk to return. Bounded in memory and open folders:
/// its cursor continues where the recording ends. Belongs to the helper from `record` until the
/// state is `done`, else to the walk.
class PrefetchedFolder {
 public:
  enum class Statuses { leave, read };
  /// The objects whose folders the recording keeps open. With few open folders it can be longer;
  /// `readStatus` opens them again.
  enum class Holders { ofAll, ofFolders };
  enum class State { waiting, recording, done };

  /// Records nothing yet. `files` and `bounds` outlive it.
  PrefetchedFolder(FileSystem& files, const WalkBounds& bounds, UpcomingFolder folder,
                   Statuses statuses, Holders holders, std::size_t maximumFolders);
  PrefetchedFolder(const PrefetchedFolder&) = delete;
  PrefetchedFolder& operator=(const PrefetchedFolder&) = delete;

  const UpcomingFolder& folder() const { return folder_; }
  bool isOf(const WalkEntry& folder) const;

  /// Guarded by the lock of the prefetch, except that the walk may look for `done` without it.
  std::atomic<State> state = State::waiting;
  /// The walk waits and would be as fast itself, or passes the folder: the recording ends soon.
  std::atomic<bool> isWanted = false;

  /// Records until there is enough, or until the walk wants the folder.
  void record();

  /// False if the recording failed, or began so long ago that the folder may have changed since.
  bool isUsable() const;

  /// The next recorded object, null at the end. Valid until the next call.
  const WalkEntry* next();
  /// Reads the status of the object that `next` has returned without a holder. Links on the way
  /// there are not followed.
  PosixResult<FileStatus> readStatus();
  bool isAtEnd() const { return next_ == entries_.size(); }
  /// Skips the recorded objects that are more than `levels` folders down.
  void skipTo(std::size_t levels);

  HierarchyCursor& cursor() { return cursor_; }

 private:
  using Clock = std::chrono::steady_clock;

  void recordObjects();
  bool hasRoom() const;
  void keep(const WalkEntry& entry);
  PosixResult<Folder> openHolder() const;

  FileSystem& files_;
  const UpcomingFolder folder_;
  const Statuses wanted_;
  const Holders holders_;
  const std::size_t maximumFolders_;
  HierarchyCursor cursor_;
  bool isEntered_ = false;
  /// Memory ran out.
  bool isBroken_ = false;
  Clock::time_point begin_;

  std::vector<WalkEntry> entries_;
  std::size_t next_ = 0;
  /// Of the entries, each with its zero. It may move while it grows, as the statuses may, so an
  /// entry gets both when `next` returns it.
  std::string names_;
  std::size_t nextName_ = 0;
  /// One for each entry, or empty when no statuses are wanted.
  std::vector<std::optional<FileStatus>> statuses_;
  /// The folders that entries keep open.
  std::vector<const Folder*> held_;
  /// The names of the folders from the recorded one to that of the object that `next` has returned.
  std::vector<const char*> within_;
  /// The last of them, if it was opened again.
  std::optional<Folder> holder_;
};

/// The folders that are listed ahead of a walk. Belongs to the thread that walks. Helpers start
/// when a walk proves to be long. While the listings are in memory, one recording in each folder
/// that the walk is in is enough. While the helpers wait for a disk, many are read at a time.
class Prefetch {
 public:
  Prefetch(FileSystem& files, const WalkBounds& bounds, WorkerShare workers);
  Prefetch(const Prefetch&) = delete;
  Prefetch& operator=(const Prefetch&) = delete;
  ~Prefetch();

  void expectStatuses() { statuses_ = PrefetchedFolder::Statuses::read; }

  /// Starts listing folders that the walk will reach, if that saves time. To be called whenever
  /// the walk has entered a folder.
  void prepare(const HierarchyCursor& walk);

  /// The recording of the folder that the walk has reached; null if there is no usable one.
  std::unique_ptr<PrefetchedFolder> take(const WalkEntry& folder);

  /// Drops the recordings in folders that are more than `levels` down. False if there was none.
  bool forget(std::size_t levels);

 private:
  using Recordings = std::vector<std::unique_ptr<PrefetchedFolder>>;

  /// How much is listed ahead.
  struct Width {
    std::size_t inOneFolder;
    std::size_t recordings;
    /// That one recording keeps open.
    std::size_t folders;
    PrefetchedFolder::Holders holders;
    /// More are added when no more than so many wait for a helper.
    std::size_t waiting;
  };

  bool isLongWalk();
  bool prepareOne(const HierarchyCursor& walk, const Width& width);
  void add(Recordings::iterator before, UpcomingFolder folder, const Width& width);
  void dropLast();
  std::unique_ptr<PrefetchedFolder> takeLast();
  void help();
  PrefetchedFolder* nextToRecord();
  bool hasWork() const { return isOver_ || waiting_ != 0; }
  bool waitForWork();

  FileSystem& files_;
  const WalkBounds& bounds_;
  PrefetchedFolder::Statuses statuses_ = PrefetchedFolder::Statuses::leave;
  unsigned enteredFolders_ = 0;

  std::mutex mutex_;
  /// A recording waits, or the walk is over.
  std::condition_variable work_;
  /// The recording that the walk wants is done.
  std::condition_variable done_;
  /// In the order in which the walk reaches them, the next one last. Only the walk changes the
  /// list.
  Recordings recordings_;
  std::atomic<std::size_t> waiting_ = 0;
  std::atomic<bool> isOver_ = false;
  WorkerCount count_;
  WorkerMeter meter_{count_};
  Helpers helpers_{count_, [this](std::size_t) { help(); }};
};

}  // namespace qrt
