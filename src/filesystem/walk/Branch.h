// A folder of a walk that is listed before the walk comes to it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "filesystem/walk/HierarchyCursor.h"

namespace qrt {

/// Recorded by one thread and handed out by another. Bounded in memory and open folders: where
/// recording ended, its cursor goes on. Belongs to one thread at a time.
class Branch {
 public:
  enum class Statuses { leave, read };

  /// Records nothing yet. `files` and `scope` outlive the branch.
  Branch(FileSystem& files, const WalkScope& scope, FolderToCome folder, Statuses statuses);
  Branch(const Branch&) = delete;
  Branch& operator=(const Branch&) = delete;

  bool isOf(const Sighting& folder) const;
  /// Of the folder that holds it.
  const WalkDepth& depth() const { return folder_.depth; }

  /// Records until there is enough, or the branch is wanted.
  void record(const std::atomic<bool>& isWanted);

  /// False when recording failed, or began so long ago that it tells little about the folder now.
  bool isUsable() const;

  /// The next recorded object, null at the end. Good until the next call.
  const Sighting* next();
  bool isAtEnd() const { return next_ == sightings_.size(); }

  /// Passes over the recorded objects that are more than so many folders down.
  void skipTo(std::size_t levels);

  HierarchyCursor& cursor() { return cursor_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool hasRoom() const;
  void keep(const Sighting& sighting);

  FileSystem& files_;
  const FolderToCome folder_;
  const Statuses wanted_;
  HierarchyCursor cursor_;
  bool isEntered_ = false;
  Clock::time_point begin_;
  std::vector<Sighting> sightings_;
  std::size_t next_ = 0;
  /// Of the sightings, each with its zero: how long names get is for file systems to say, so a
  /// sighting gets to know its own when it is handed out.
  std::string names_;
  std::size_t nextName_ = 0;
  /// What the sightings point to; does not grow beyond what was reserved.
  std::vector<FileStatus> statuses_;
};

}  // namespace qrt
