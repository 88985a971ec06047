#include "filesystem/walk/TreeWalk.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "filesystem/walk/OpenFolders.h"
#include "filesystem/walk/WorkQueue.h"

namespace qrt {
namespace {

/// From the top of the walk.
std::string pathIn(const TreeFolder* holder, std::string_view name) {
  std::vector<std::string_view> names{name};
  for (; holder->parent != nullptr; holder = holder->parent) names.push_back(holder->name);
  std::string path;
  for (auto it = names.rbegin(); it != names.rend(); ++it) path.append(*it) += '/';
  path.pop_back();
  return path;
}

std::string pathOf(const TreeFolder& folder) {
  return folder.parent == nullptr ? std::string() : pathIn(folder.parent, folder.name);
}

}  // namespace

std::string TreeObject::relativePath() const {
  return holder_ == nullptr ? std::string() : pathIn(holder_, at_.name);
}

PosixResult<TreeVisitor::Leave> TreeVisitor::leave(const TreeObject&, unsigned) {
  return Leave::done;
}

PosixCode TreeVisitor::cannotRead(const TreeObject&, PosixCode) { return PosixCode::success; }

namespace {

/// What the workers of a walk share.
struct Walk {
  /// Subfolders that wait; with more, a worker enters the next one at once.
  static constexpr std::size_t enoughWaiting = 64;

  Walk(FileSystem& theFiles, FileAt theTop, TreeVisitor& theVisitor)
      : files(theFiles), top(theTop), visitor(theVisitor) {}

  void fail(PosixCode code, std::string relativePath) {
    const std::lock_guard lock(mutex);
    if (!failure) failure = TreeFailure{code, std::move(relativePath)};
    isStopped.store(true, std::memory_order_relaxed);
    waiting.close();
  }

  FileSystem& files;
  const FileAt top;
  TreeVisitor& visitor;
  const std::size_t workers = std::thread::hardware_concurrency() > 1 ? 2 : 1;
  OpenFolders folders{files, workers};
  WorkQueue<TreeFolder> waiting{enoughWaiting};
  std::atomic<bool> isStopped = false;
  std::mutex mutex;
  std::optional<TreeFailure> failure;
};

/// One thread's part of a walk.
class Worker {
 public:
  Worker(Walk& walk, unsigned index) : walk_(walk), index_(index) {}
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    if (helper_.joinable()) helper_.join();
  }

  /// Returns when the walk is over.
  void work() {
    while (auto* folder = walk_.waiting.take(index_)) list(folder);
  }

  /// One thing less is pending in a folder that the worker uses. When it was the last, the folder
  /// is done, and that is one thing less in the folder that holds it, and so on up to `outer`,
  /// which the worker continues with. Returns a folder that is to be listed once more.
  TreeFolder* release(TreeFolder* folder, const TreeFolder* outer);

 private:
  void list(TreeFolder* first);
  TreeFolder* nextToEnter(TreeFolder& folder);
  TreeFolder* visit(TreeFolder& folder, const FolderEntry& entry);
  std::uint32_t typeOf(const FolderEntry& entry, FileAt at);
  void open(TreeFolder& folder);
  void useParent(TreeFolder& folder);
  bool leave(TreeFolder& folder);
  void callForHelp();

  TreeObject objectOf(const TreeFolder& folder) const;
  void cannotRead(const TreeFolder& folder, PosixCode reason);
  void cannotReadOn(TreeFolder& folder, PosixCode reason);
  bool isStopped() const { return walk_.isStopped.load(std::memory_order_relaxed); }

  Walk& walk_;
  const unsigned index_;
  unsigned seen_ = 0;
  /// The other worker, started by the first one.
  bool mayHaveHelp_ = index_ == 0 && walk_.workers > 1;
  std::thread helper_;
};

/// Lists a folder and the folders that are entered from it on the way.
void Worker::list(TreeFolder* first) {
  open(*first);
  for (auto* folder = first; folder != nullptr;) {
    if (auto* inner = nextToEnter(*folder)) {
      open(*inner);
      walk_.folders.stopUsing(*folder);
      folder = inner;
      continue;
    }
    auto* outer = folder == first ? nullptr : folder->parent;
    if (outer != nullptr) useParent(*folder);
    auto* again = release(folder, outer);
    if (again != nullptr && outer == nullptr) first = again;
    if (again != nullptr && outer != nullptr) walk_.folders.stopUsing(*outer);
    folder = again != nullptr ? again : outer;
  }
}

/// Visits a folder's objects until one is to be entered at once; null at the folder's end.
TreeFolder* Worker::nextToEnter(TreeFolder& folder) {
  while (folder.folder && !isStopped()) {
    const auto entry = (*folder.folder)->next();
    if (!entry) {
      cannotReadOn(folder, entry.error());
      return nullptr;
    }
    if (!*entry) return nullptr;
    callForHelp();
    if (auto* inner = visit(folder, **entry)) return inner;
  }
  return nullptr;
}

/// Returns the object when it is a folder to be entered at once.
TreeFolder* Worker::visit(TreeFolder& folder, const FolderEntry& entry) {
  const FileAt at{**folder.folder, entry.name};
  const auto type = typeOf(entry, at);
  if (type == 0) return nullptr;
  const TreeObject object(&folder, at, type, index_);
  const auto next = walk_.visitor.visit(object);
  if (!next) {
    walk_.fail(next.error(), object.relativePath());
    return nullptr;
  }
  if (*next == TreeVisitor::Next::pass || !object.isFolder()) return nullptr;

  auto* inner = new TreeFolder(&folder, entry.name);
  const bool mayWait = walk_.folders.addSubfolder(folder);
  return mayWait && walk_.waiting.offer(inner, index_) ? nullptr : inner;
}

/// 0 if the object has vanished.
std::uint32_t Worker::typeOf(const FolderEntry& entry, FileAt at) {
  if (entry.type != 0) return entry.type;
  const auto status = walk_.files.status(at, Links::stay);
  return status ? status->type() : 0;
}

void Worker::open(TreeFolder& folder) {
  if (isStopped()) return;
  const auto code = walk_.folders.open(folder, objectOf(folder).at());
  if (code != PosixCode::success) cannotRead(folder, code);
}

void Worker::useParent(TreeFolder& folder) {
  const auto code = walk_.folders.useParent(folder);
  if (code != PosixCode::success) walk_.fail(code, pathOf(*folder.parent));
}

TreeFolder* Worker::release(TreeFolder* folder, const TreeFolder* outer) {
  while (walk_.folders.finishPart(*folder, folder == outer)) {
    auto* parent = folder->parent;
    if (parent != nullptr && parent != outer) useParent(*folder);
    if (!leave(*folder)) {
      walk_.folders.visitAgain(*folder);
      if (parent != nullptr && parent != outer) walk_.folders.stopUsing(*parent);
      return folder;
    }
    walk_.folders.remove(folder);
    if (parent == nullptr) {
      walk_.waiting.close();
      return nullptr;
    }
    folder = parent;
  }
  return nullptr;
}

/// False when the folder is to be listed once more.
bool Worker::leave(TreeFolder& folder) {
  if (!folder.folder || isStopped()) return true;
  const auto object = objectOf(folder);
  const auto result = walk_.visitor.leave(object, folder.round);
  if (!result) walk_.fail(result.error(), object.relativePath());
  if (!result || *result == TreeVisitor::Leave::done) return true;
  ++folder.round;
  (*folder.folder)->rewind();
  return false;
}

/// Starts or wakes the second thread if folders wait. That takes about as long as visiting the
/// objects between two calls.
void Worker::callForHelp() {
  constexpr unsigned objectsBetweenCalls = 64;
  if (++seen_ % objectsBetweenCalls != 0 || !walk_.waiting.wake()) return;
  if (!mayHaveHelp_) return;
  mayHaveHelp_ = false;
  try {
    helper_ = std::thread([&walk = walk_] { Worker(walk, 1).work(); });
  } catch (const std::system_error&) {
    // Without a second thread, this one does all the work.
  }
}

TreeObject Worker::objectOf(const TreeFolder& folder) const {
  if (folder.parent == nullptr) return {nullptr, walk_.top, file_type::folder, index_};
  const FileAt at{**folder.parent->folder, folder.name.c_str()};
  return {folder.parent, at, file_type::folder, index_};
}

void Worker::cannotRead(const TreeFolder& folder, PosixCode reason) {
  if (isStopped()) return;
  const auto object = objectOf(folder);
  const auto code = isExhaustion(reason) ? reason : walk_.visitor.cannotRead(object, reason);
  if (code != PosixCode::success) walk_.fail(code, object.relativePath());
}

/// The folder that holds it may already be closed.
void Worker::cannotReadOn(TreeFolder& folder, PosixCode reason) {
  if (folder.parent == nullptr) return cannotRead(folder, reason);
  useParent(folder);
  cannotRead(folder, reason);
  walk_.folders.stopUsing(*folder.parent);
}

}  // namespace

std::optional<TreeFailure> walkTree(FileSystem& files, FileAt top, TreeVisitor& visitor) {
  Walk walk(files, top, visitor);
  walk.waiting.put(new TreeFolder(nullptr, ""), 0);
  {
    Worker worker(walk, 0);
    worker.work();
  }
  // After a failure folders still wait. Releasing the last of them frees the folders that hold
  // them.
  Worker rest(walk, 0);
  while (auto* folder = walk.waiting.takeRest()) rest.release(folder, nullptr);
  return std::move(walk.failure);
}

}  // namespace qrt
