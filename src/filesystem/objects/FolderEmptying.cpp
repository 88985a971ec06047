#include "filesystem/objects/FolderEmptying.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

#include "base/Path.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "filesystem/walk/TreeWalk.h"

namespace qrt {
namespace {

/// Some file systems skip entries while others are removed, and another process may add entries
/// without end.
constexpr unsigned maximumRounds = 16;

class Emptying : public TreeVisitor {
 public:
  Emptying(const Platform& platform, const std::string& path) : platform_(platform), path_(path) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    ++found_;
    const auto code = object.isFolder() ? keep(object.at()) : remove(object.at());
    if (code != PosixCode::success) return code;
    return Next::pass;
  }

  PosixResult<Leave> leave(const TreeObject& folder, unsigned round) override {
    const std::lock_guard lock(foldersMutex_);
    const auto code = removeFolders(folder.at().folder);
    if (code != PosixCode::success) return code;
    const auto found = found_.exchange(0);
    const bool isLess = round == 0 || found < foundBefore_;
    foundBefore_ = found;
    const bool mayHoldMore = found != 0 && isLess && round + 1 < maximumRounds;
    return mayHoldMore ? Leave::again : Leave::done;
  }

  PosixCode cannotRead(const TreeObject&, PosixCode reason) override {
    return fail(fileReadError(reason, path_));
  }

  Outcome run(const Folder& folder) {
    const auto failure = walkTree(platform_, {folder, "."}, *this);
    if (error_) return *error_;
    return failure ? Outcome(fileReadError(failure->code, path_)) : success;
  }

 private:
  /// A folder gets all helpers for the tree in it, when the files are removed.
  PosixCode keep(FileAt folder) {
    constexpr std::size_t enough = 1024;
    const std::lock_guard lock(foldersMutex_);
    folders_.emplace_back(folder.name);
    return folders_.size() < enough ? PosixCode::success : removeFolders(folder.folder);
  }

  PosixCode removeFolders(const Folder& holder) {
    for (const auto& name : std::exchange(folders_, {})) {
      const auto code = remove({holder, name.c_str()});
      if (code != PosixCode::success) return code;
    }
    return PosixCode::success;
  }

  PosixCode remove(FileAt object) {
    using QRTFileDeletionAdditions::enforceRecursiveRemovalOfFileSystemObject;
    auto error = enforceRecursiveRemovalOfFileSystemObject(platform_, object,
                                                           path::below(path_, object.name));
    return error ? fail(std::move(*error)) : PosixCode::success;
  }

  /// Ends the walk.
  PosixCode fail(Error error) {
    const std::lock_guard lock(errorMutex_);
    if (!error_) error_ = std::move(error);
    return PosixCode::interrupted;
  }

  const Platform& platform_;
  const std::string& path_;
  /// In a round, and in the one before. A link that leads nowhere stays and is found each time.
  std::atomic<std::size_t> found_ = 0;
  std::size_t foundBefore_ = 0;
  std::mutex foldersMutex_;
  std::vector<std::string> folders_;
  std::mutex errorMutex_;
  Outcome error_;
};

}  // namespace

Outcome emptyFolder(const Platform& platform, const Folder& folder, const std::string& path) {
  return Emptying(platform, path).run(folder);
}

}  // namespace qrt
