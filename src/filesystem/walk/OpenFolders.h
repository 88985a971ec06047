// The folders of a tree walk, and which of them are open.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "filesystem/walk/FolderEntries.h"
#include "filesystem/walk/ReopenableFolder.h"

namespace qrt {

/// A folder of the walk, from the moment it was seen until everything below it is done. There is
/// one for each level of a tree whose owner chooses its depth, so it is small.
struct TreeFolder {
  /// `ownName` is not needed for the top of the walk, which has no parent.
  TreeFolder(TreeFolder* holdingFolder, const char* ownName)
      : parent(holdingFolder), name(ownName) {}

  TreeFolder* const parent;
  const std::string name;
  /// Empty until the folder was opened for the first time. Open while a worker uses it.
  std::optional<ReopenableFolder> folder;
  /// How often its contents were visited.
  unsigned round = 0;
  /// How many entries its listing has returned.
  std::size_t listed = 0;
  /// The next ones, if it is large.
  std::unique_ptr<FolderEntries> ahead;

 private:
  friend class OpenFolders;

  /// How many workers use it.
  unsigned users = 0;
  /// Its subfolders that were seen and not opened, and its entries that wait for a worker. They
  /// are found through it alone.
  unsigned waiting = 0;
  /// Its own listing, its subfolders and its shared entries that are not done.
  std::size_t pending = 1;
};

/// Keeps a walk of any depth within a fixed number of descriptors: the folder that was opened
/// longest ago is closed, and opened again through the folder below it that is done.
///
/// Thread-safe. A worker uses one folder, and two while it goes from one to the next.
class OpenFolders {
 public:
  /// Of a walk, with those that its caller and the calls of its visitor hold.
  static constexpr std::size_t maximumDescriptors = 64;

  /// Each worker's visitor holds so many descriptors of its own.
  OpenFolders(FileSystem& files, std::size_t workers, std::size_t heldByVisitor);

  /// Notes a subfolder of a folder that the worker uses. False when the subfolder may not wait
  /// until another worker has time: too many folders must stay open for others that wait.
  bool addSubfolder(TreeFolder& parent);

  /// Notes entries of a folder that the worker uses, for another worker. Nothing is noted and the
  /// answer is false when they may not wait.
  bool addEntries(TreeFolder& parent);
  /// Begins with such entries: the worker uses their folder.
  void useForEntries(TreeFolder& parent);

  /// Opens a folder, which the worker then uses. An error is left to `remove()`.
  PosixCode open(TreeFolder& folder, FileAt at);

  /// Uses the folder that holds one that the worker uses, and opens it again if necessary.
  PosixCode useParent(TreeFolder& folder);
  void stopUsing(TreeFolder& folder);

  /// The worker has finished one pending task of a folder that it uses. True after the last task:
  /// the folder belongs to the worker alone then. Otherwise the worker does not use it any longer,
  /// unless it `continues`.
  bool finishPart(TreeFolder& folder, bool continues);

  /// Its contents are to be visited once more.
  void visitAgain(TreeFolder& folder);

  /// Closes and frees a folder that is the worker's alone.
  void remove(TreeFolder* folder);

 private:
  using Lock = std::unique_lock<std::mutex>;

  PosixCode makeRoom(Lock& lock);
  bool closeOldest(PosixCode& code);
  void forget(const TreeFolder& folder);
  void addWaiting(TreeFolder& parent);
  void stopWaiting(TreeFolder& parent);
  static bool isInUse(const TreeFolder& folder) { return folder.users + folder.waiting != 0; }

  FileSystem& files_;
  /// How many folders may be open, and how many of them for subfolders that wait.
  const std::size_t capacity_;
  const std::size_t maximumKeptForWaiting_;
  std::mutex mutex_;
  std::condition_variable changed_;
  /// Open, or about to be opened; in the order of that.
  std::vector<TreeFolder*> open_;
  std::size_t keptForWaiting_ = 0;
};

}  // namespace qrt
