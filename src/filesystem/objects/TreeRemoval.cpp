#include "filesystem/objects/TreeRemoval.h"

#include <string_view>

namespace qrt {
namespace {

/// How often a folder is emptied when its removal finds it not empty: some file systems skip
/// entries while others are removed, and another process may add entries without end.
constexpr unsigned maximumRounds = 16;

PosixCode unlessGone(PosixCode code) {
  return code == PosixCode::noEntry ? PosixCode::success : code;
}

class Removal : public TreeVisitor {
 public:
  explicit Removal(FileSystem& files) : files_(files) {}

  static constexpr const char* openTop = ".";

  std::size_t heldDescriptors() const override { return 0; }

  PosixResult<Next> visit(const TreeObject& object) override {
    if (object.isFolder()) return Next::enter;
    const auto code = unlessGone(files_.removeFile(object.at()));
    if (code != PosixCode::success) return code;
    return Next::pass;
  }

  PosixResult<Leave> leave(const TreeObject& folder, unsigned round) override {
    if (isOpenTop(folder)) return Leave::done;
    const auto code = unlessGone(files_.removeFolder(folder.at()));
    if (code == PosixCode::notEmpty && round + 1 < maximumRounds) return Leave::again;
    if (code != PosixCode::success) return code;
    return Leave::done;
  }

  PosixCode cannotRead(const TreeObject& folder, PosixCode reason) override {
    // Something else has taken the folder's place.
    if (reason == PosixCode::notDirectory) return unlessGone(files_.removeFile(folder.at()));
    return unlessGone(reason);
  }

 private:
  /// No entry has this name.
  static bool isOpenTop(const TreeObject& folder) {
    return folder.at().name == std::string_view(openTop);
  }

  FileSystem& files_;
};

}  // namespace

std::optional<TreeFailure> removeTree(const Platform& platform, FileAt top,
                                      const FileStatus& seen) {
  if (seen.isFolder()) {
    Removal removal(platform.files);
    return walkTree(platform, top, removal);
  }
  const auto code = platform.files.removeFile(top);
  if (code == PosixCode::success) return std::nullopt;
  return TreeFailure{code, {}};
}

std::optional<TreeFailure> removeContents(const Platform& platform, const Folder& folder) {
  Removal removal(platform.files);
  return walkTree(platform, {folder, Removal::openTop}, removal);
}

}  // namespace qrt
