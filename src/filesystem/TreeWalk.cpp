#include "filesystem/TreeWalk.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "filesystem/WorkQueue.h"

namespace qrt {

/// A folder of the walk, from the moment it was seen until everything below it is done.
struct TreeObject::Holder {
  Holder(Holder* holdingFolder, const char* ownName) : parent(holdingFolder), name(ownName) {}

  /// Null for the top of the walk, which needs no name.
  Holder* const parent;
  const std::string name;
  /// Open from when a worker has taken the folder on.
  std::optional<Folder> folder;
  /// The folder's own listing and its subfolders that are not done. Whoever brings this to 0 leaves
  /// the folder and frees it.
  std::atomic<std::size_t> pending = 1;
  unsigned round = 0;
};

std::string TreeObject::relativePath() const {
  if (holder_ == nullptr) return {};
  std::vector<std::string_view> folders;
  for (const auto* folder = holder_; folder->parent != nullptr; folder = folder->parent) {
    folders.push_back(folder->name);
  }
  std::string path;
  for (auto name = folders.rbegin(); name != folders.rend(); ++name) path.append(*name) += '/';
  return path += at_.name;
}

PosixResult<TreeVisitor::Leave> TreeVisitor::leave(const TreeObject&, unsigned) {
  return Leave::done;
}

PosixCode TreeVisitor::cannotRead(const TreeObject&, PosixCode) { return PosixCode::success; }

namespace {

using Holder = TreeObject::Holder;

/// What the workers of a walk share.
struct Walk {
  /// Subfolders that wait; with more, a worker goes into the next one at once. A folder that waits
  /// keeps those open that hold it.
  static constexpr std::size_t enoughWaiting = 64;

  Walk(FileSystem& theFiles, FileAt theTop, TreeVisitor& theVisitor)
      : files(theFiles), top(theTop), visitor(theVisitor) {}

  void fail(const TreeObject& object, PosixCode code) {
    const std::lock_guard lock(mutex);
    if (!failure) failure = TreeFailure{code, object.relativePath()};
    isStopped.store(true, std::memory_order_relaxed);
    waiting.close();
  }

  FileSystem& files;
  const FileAt top;
  TreeVisitor& visitor;
  WorkQueue<Holder> waiting{enoughWaiting};
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
    while (auto* holder = walk_.waiting.take(index_)) list(*holder);
  }

  /// One thing less is pending in a folder. When it was the last, the folder is done, and that is
  /// one thing less in the folder that holds it.
  void release(Holder* holder);

 private:
  void list(Holder& first);
  Holder* nextToEnter(Holder& holder);
  Holder* visit(Holder& holder, const FolderEntry& entry);
  std::uint32_t typeOf(const FolderEntry& entry, FileAt at);
  void open(Holder& holder);
  bool leave(Holder& holder);
  void callForHelp();

  TreeObject objectOf(const Holder& holder) const;
  void cannotRead(const Holder& holder, PosixCode reason);
  bool isStopped() const { return walk_.isStopped.load(std::memory_order_relaxed); }

  Walk& walk_;
  const unsigned index_;
  unsigned seen_ = 0;
  /// The other worker, started by the first one.
  bool mayHaveHelp_ = index_ == 0 && std::thread::hardware_concurrency() > 1;
  std::thread helper_;
};

/// Lists a folder and the folders that are entered from it on the way.
void Worker::list(Holder& first) {
  open(first);
  for (auto* holder = &first; holder != nullptr;) {
    if (auto* inner = nextToEnter(*holder)) {
      open(*inner);
      holder = inner;
    } else {
      auto* outer = holder == &first ? nullptr : holder->parent;
      release(holder);
      holder = outer;
    }
  }
}

/// Visits a folder's objects until one is to be entered at once; null at the folder's end.
Holder* Worker::nextToEnter(Holder& holder) {
  while (holder.folder && !isStopped()) {
    const auto entry = holder.folder->next();
    if (!entry) {
      cannotRead(holder, entry.error());
      return nullptr;
    }
    if (!*entry) return nullptr;
    callForHelp();
    if (auto* inner = visit(holder, **entry)) return inner;
  }
  return nullptr;
}

/// The object's own holder when it is a folder to be entered at once.
Holder* Worker::visit(Holder& holder, const FolderEntry& entry) {
  const FileAt at{*holder.folder, entry.name};
  const auto type = typeOf(entry, at);
  if (type == 0) return nullptr;
  const TreeObject object(&holder, at, type, index_);
  const auto next = walk_.visitor.visit(object);
  if (!next) {
    walk_.fail(object, next.error());
    return nullptr;
  }
  if (*next == TreeVisitor::Next::pass || !object.isFolder()) return nullptr;

  auto* inner = new Holder(&holder, entry.name);
  holder.pending.fetch_add(1, std::memory_order_relaxed);
  return walk_.waiting.offer(inner, index_) ? nullptr : inner;
}

/// 0 when the object has gone meanwhile.
std::uint32_t Worker::typeOf(const FolderEntry& entry, FileAt at) {
  if (entry.type != 0) return entry.type;
  const auto status = walk_.files.status(at, Links::stay);
  return status ? status->type() : 0;
}

void Worker::open(Holder& holder) {
  if (holder.folder || isStopped()) return;
  auto folder = walk_.files.openFolder(objectOf(holder).at(), Links::stay);
  if (!folder) return cannotRead(holder, folder.error());
  holder.folder.emplace(std::move(*folder));
}

void Worker::release(Holder* holder) {
  while (holder->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    if (!leave(*holder)) return;
    const std::unique_ptr<Holder> done(holder);
    holder = done->parent;
    if (holder == nullptr) return walk_.waiting.close();
  }
}

/// False when the folder is to be listed once more; it then waits for a worker.
bool Worker::leave(Holder& holder) {
  if (!holder.folder || isStopped()) return true;
  const auto object = objectOf(holder);
  const auto result = walk_.visitor.leave(object, holder.round);
  if (!result) walk_.fail(object, result.error());
  if (!result || *result == TreeVisitor::Leave::done) return true;
  ++holder.round;
  holder.folder->rewind();
  holder.pending.store(1, std::memory_order_relaxed);
  walk_.waiting.put(&holder, index_);
  return false;
}

/// Sees to it now and then that waiting folders have somebody to do them. Starting or waking the
/// other thread takes about as long as visiting as many objects as lie between.
void Worker::callForHelp() {
  constexpr unsigned objectsBetweenCalls = 64;
  if (++seen_ % objectsBetweenCalls != 0 || !walk_.waiting.wake()) return;
  if (!mayHaveHelp_) return;
  mayHaveHelp_ = false;
  try {
    helper_ = std::thread([&walk = walk_] { Worker(walk, 1).work(); });
  } catch (const std::system_error&) {
    // No thread to be had: this one does it all.
  }
}

TreeObject Worker::objectOf(const Holder& holder) const {
  if (holder.parent == nullptr) return {nullptr, walk_.top, file_type::folder, index_};
  const FileAt at{*holder.parent->folder, holder.name.c_str()};
  return {holder.parent, at, file_type::folder, index_};
}

void Worker::cannotRead(const Holder& holder, PosixCode reason) {
  const auto object = objectOf(holder);
  const auto code = isExhaustion(reason) ? reason : walk_.visitor.cannotRead(object, reason);
  if (code != PosixCode::success) walk_.fail(object, code);
}

}  // namespace

std::optional<TreeFailure> walkTree(FileSystem& files, FileAt top, TreeVisitor& visitor) {
  Walk walk(files, top, visitor);
  walk.waiting.put(new Holder(nullptr, ""), 0);
  {
    Worker worker(walk, 0);
    worker.work();
  }
  // After a failure folders still wait; those that hold them go with the last of them.
  Worker rest(walk, 0);
  while (auto* holder = walk.waiting.takeRest()) rest.release(holder);
  return std::move(walk.failure);
}

}  // namespace qrt
