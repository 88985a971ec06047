#include "filesystem/walk/TreeWalk.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "filesystem/walk/OpenFolders.h"
#include "filesystem/walk/WorkQueue.h"
#include "filesystem/walk/Workers.h"

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

/// What a worker takes: a folder that is to be opened and listed, or entries of an open folder.
struct Piece {
  TreeFolder* folder;
  std::unique_ptr<FolderEntries> entries = nullptr;
};

/// What the workers of a walk share.
struct Walk {
  /// Pieces that wait for one worker; with more, it enters the next folder at once.
  static constexpr std::size_t enoughWaiting = 64;

  Walk(const Platform& platform, FileAt theTop, TreeVisitor& theVisitor)
      : files(platform.files),
        top(theTop),
        visitor(theVisitor),
        stop(platform.stop),
        count(platform.workers) {}

  void fail(PosixCode code, std::string relativePath) {
    const std::lock_guard lock(mutex);
    if (!failure) failure = TreeFailure{code, std::move(relativePath)};
    isStopped.store(true, std::memory_order_relaxed);
    waiting.close();
  }

  FileSystem& files;
  const FileAt top;
  TreeVisitor& visitor;
  const StopRequest& stop;
  WorkerCount count;
  OpenFolders folders{files, WorkerCount::maximum, visitor.heldDescriptors()};
  WorkQueue<Piece> waiting{WorkerCount::maximum, enoughWaiting};
  std::atomic<bool> isStopped = false;
  std::atomic<bool> isReadingAhead = false;
  std::mutex mutex;
  std::optional<TreeFailure> failure;
};

/// One thread's part of a walk.
class Worker {
 public:
  Worker(Walk& walk, Helpers& helpers, std::size_t index)
      : walk_(walk), helpers_(helpers), index_(index), meter_(walk.count) {}

  /// Returns when the walk is over.
  void work();
  /// The same, or when the walk has too many workers or too little work.
  void help();

  /// The worker has finished one pending task of a folder that it uses. After the last task the
  /// folder is done, which finishes a task of the folder that holds it, and so on up to `outer`,
  /// which the worker continues with. Returns a folder that is to be listed once more.
  TreeFolder* release(TreeFolder* folder, const TreeFolder* outer);

  /// Frees a piece that no worker will take, and the folders that are done without it.
  void drop(const Piece& piece);

 private:
  /// Waking or starting a thread takes about as long as visiting so many objects.
  static constexpr std::size_t objectsBetweenCalls = 64;
  /// With fewer, reading them in another order saves nothing.
  static constexpr std::size_t entriesOfLargeFolder = 10'000;

  std::optional<Piece> nextPiece();
  void perform(const Piece& piece);
  TreeFolder* nextToEnter(TreeFolder& folder, FolderEntries* entries);
  std::optional<FolderEntry> nextEntry(TreeFolder& folder);
  TreeFolder* visit(TreeFolder& folder, const FolderEntry& entry);
  std::uint32_t typeOf(const FolderEntry& entry, FileAt at);
  void open(TreeFolder& folder);
  void useParent(TreeFolder& folder);
  bool leave(TreeFolder& folder);
  void readAhead(TreeFolder& folder);
  void shareWork(TreeFolder& folder);
  bool shareEntries(TreeFolder& folder);

  TreeObject objectOf(const TreeFolder& folder) const;
  void cannotRead(const TreeFolder& folder, PosixCode reason);
  void cannotReadOn(TreeFolder& folder, PosixCode reason);
  bool isStopped() const;

  Walk& walk_;
  Helpers& helpers_;
  const std::size_t index_;
  WorkerMeter meter_;
  std::size_t seen_ = 0;
};

/// Also notices that the requestor wants the walk to end.
bool Worker::isStopped() const {
  if (walk_.isStopped.load(std::memory_order_relaxed)) return true;
  if (!walk_.stop.isSet()) return false;
  walk_.fail(PosixCode::canceled, {});
  return true;
}

void Worker::work() {
  while (!walk_.waiting.isClosed()) {
    if (const auto piece = nextPiece()) perform(*piece);
  }
}

void Worker::help() {
  while (!walk_.count.hasTooMany()) {
    const auto piece = nextPiece();
    if (!piece) return;
    perform(*piece);
  }
  // Its own pieces may be all that other workers wait for.
  walk_.waiting.wake();
}

/// Waits for one if necessary, but not for long.
std::optional<Piece> Worker::nextPiece() {
  auto piece = walk_.waiting.take(index_);
  if (piece) return piece;
  return meter_.whileIdle([&] { return walk_.waiting.waitFor(index_, Helpers::patience); });
}

void Worker::drop(const Piece& piece) {
  if (piece.entries) walk_.folders.useForEntries(*piece.folder);
  release(piece.folder, nullptr);
}

/// Visits what is in the piece, and in the folders that are entered on the way.
void Worker::perform(const Piece& piece) {
  auto* first = piece.folder;
  auto* entries = piece.entries.get();
  if (entries != nullptr) {
    walk_.folders.useForEntries(*first);
  } else {
    open(*first);
  }
  for (auto* folder = first; folder != nullptr;) {
    if (auto* inner = nextToEnter(*folder, folder == first ? entries : nullptr)) {
      open(*inner);
      walk_.folders.stopUsing(*folder);
      folder = inner;
      continue;
    }
    auto* outer = folder == first ? nullptr : folder->parent;
    if (outer != nullptr) useParent(*folder);
    auto* again = release(folder, outer);
    if (again != nullptr && outer == nullptr) {
      first = again;
      entries = nullptr;
    }
    if (again != nullptr && outer != nullptr) walk_.folders.stopUsing(*outer);
    folder = again != nullptr ? again : outer;
  }
}

/// Visits the entries, or a folder's objects, until one is to be entered at once; null at the end.
TreeFolder* Worker::nextToEnter(TreeFolder& folder, FolderEntries* entries) {
  while (folder.folder && !isStopped()) {
    const auto entry = entries != nullptr ? entries->next() : nextEntry(folder);
    if (!entry) return nullptr;
    if (auto* inner = visit(folder, *entry)) return inner;
  }
  return nullptr;
}

/// Of a folder that this worker lists; gets work to others now and then.
std::optional<FolderEntry> Worker::nextEntry(TreeFolder& folder) {
  const bool isTime = ++seen_ % objectsBetweenCalls == 0 || (folder.listed == 0 && meter_.isDue());
  if (isTime) shareWork(folder);
  if (folder.listed >= entriesOfLargeFolder) readAhead(folder);
  if (auto entry = folder.ahead ? folder.ahead->next() : std::nullopt) return entry;
  const auto entry = (*folder.folder)->next();
  if (!entry) cannotReadOn(folder, entry.error());
  if (!entry || !*entry) return std::nullopt;
  ++folder.listed;
  return *entry;
}

/// Brings the entries of a large folder into an order. One folder at a time may take that much
/// memory.
void Worker::readAhead(TreeFolder& folder) {
  if (folder.ahead && !folder.ahead->isEmpty()) return;
  if (!folder.ahead && walk_.isReadingAhead.exchange(true)) return;
  folder.ahead.reset();
  folder.ahead =
      std::make_unique<FolderEntries>(FolderEntries::read(**folder.folder, FolderEntries::many));
  if (!folder.ahead->isEmpty()) return folder.ahead->orderByInode();
  folder.ahead.reset();
  walk_.isReadingAhead = false;
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
  return mayWait && walk_.waiting.offer({inner}, index_) ? nullptr : inner;
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

/// Gets another worker to work if there is work for it.
void Worker::shareWork(TreeFolder& folder) {
  if (meter_.isDue()) meter_.note();
  if (walk_.waiting.isEmpty()) {
    const bool isLargeFolder = folder.listed >= objectsBetweenCalls;
    const bool isWanted = walk_.waiting.hasIdleWorker() || walk_.count.wantsMore();
    if (!isLargeFolder || !isWanted || !shareEntries(folder)) return;
  }
  if (!walk_.waiting.wake()) helpers_.addOne();
}

/// Puts the next entries of a folder into the queue, none at its end. False if too much waits.
bool Worker::shareEntries(TreeFolder& folder) {
  constexpr std::size_t enough = 256;
  if (!walk_.folders.addEntries(folder)) return false;
  auto entries = folder.ahead && !folder.ahead->isEmpty()
                     ? folder.ahead->take(enough)
                     : FolderEntries::read(**folder.folder, enough);
  walk_.waiting.put({&folder, std::make_unique<FolderEntries>(std::move(entries))}, index_);
  return true;
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

std::optional<TreeFailure> walkTree(const Platform& platform, FileAt top, TreeVisitor& visitor) {
  Walk walk(platform, top, visitor);
  walk.waiting.put({new TreeFolder(nullptr, "")}, 0);
  Helpers helpers(walk.count, [&](std::size_t index) { Worker(walk, helpers, index).help(); });
  Worker worker(walk, helpers, 0);
  worker.work();
  helpers.waitForAll();
  // After a failure pieces still wait.
  while (const auto piece = walk.waiting.takeRest()) worker.drop(*piece);
  return std::move(walk.failure);
}

}  // namespace qrt
