// Lists with a second thread what a walk will come to.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "filesystem/walk/Branch.h"
#include "filesystem/walk/Companion.h"

namespace qrt {

/// Belongs to the thread that walks. The other thread is started once a walk turns out to be long.
class WalkAhead {
 public:
  WalkAhead(FileSystem& files, const WalkScope& scope) : files_(files), scope_(scope) {}
  WalkAhead(const WalkAhead&) = delete;
  WalkAhead& operator=(const WalkAhead&) = delete;
  ~WalkAhead() { isWanted_ = true; }

  void expectStatuses() { statuses_ = Branch::Statuses::read; }

  /// Has a folder listed that the walk will come to, if it pays. To be called whenever the walk has
  /// entered a folder.
  void prepare(const HierarchyCursor& walk);

  /// What was listed of the folder that the walk has come to; null if there is nothing of use.
  std::unique_ptr<Branch> take(const Sighting& folder);

  /// Gives up what is in folders that are more than so many down. False if there was nothing.
  bool forget(std::size_t levels);

 private:
  std::unique_ptr<Branch> takeLast();

  FileSystem& files_;
  const WalkScope& scope_;
  Branch::Statuses statuses_ = Branch::Statuses::leave;
  unsigned enteredFolders_ = 0;
  std::atomic<bool> isWanted_ = false;
  /// Each of a folder further down than the one before, so that the walk comes to the last first.
  /// Only that one can be in the making.
  std::vector<std::unique_ptr<Branch>> branches_;
  Companion lister_;
};

}  // namespace qrt
