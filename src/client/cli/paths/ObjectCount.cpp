#include "client/cli/paths/ObjectCount.h"

#include <cstddef>
#include <utility>
#include <vector>

#include "base/Path.h"
#include "platform/FileSystem.h"

namespace qrt {
namespace {

/// Each level holds a descriptor.
constexpr std::size_t mostLevels = 200;

class Counting {
 public:
  Counting(FileSystem& files, const CountVisitor& visitor) : files_(files), visitor_(visitor) {}

  ObjectCount below(const std::string& folder, std::chrono::steady_clock::time_point deadline) {
    enter(folder.c_str(), folder);
    while (!levels_.empty() && std::chrono::steady_clock::now() < deadline) visitNext();
    if (!levels_.empty()) count_.isComplete = false;
    return count_;
  }

 private:
  struct Level {
    Folder folder;
    std::string path;
  };

  void enter(FileAt object, std::string path) {
    auto folder = levels_.size() < mostLevels ? files_.openFolder(object, Links::stay)
                                              : PosixResult<Folder>(PosixCode::tooManyFiles);
    if (folder) {
      levels_.push_back({std::move(*folder), std::move(path)});
    } else {
      count_.isComplete = false;
    }
  }

  void visitNext() {
    auto& level = levels_.back();
    const auto entry = level.folder.next();
    if (!entry) count_.isComplete = false;
    if (!entry || !*entry) return levels_.pop_back();
    const FileAt object{level.folder, (*entry)->name};
    const auto status = files_.status(object, Links::stay);
    if (!status) {
      count_.isComplete = false;
      return;
    }
    ++count_.objects;
    if (status->type() == file_type::regular) count_.bytes += status->size;
    if (visitor_) visitor_(object, *status, level.path);
    if (status->isFolder()) enter(object, path::below(level.path, object.name));
  }

  FileSystem& files_;
  const CountVisitor& visitor_;
  std::vector<Level> levels_;
  ObjectCount count_;
};

}  // namespace

ObjectCount countObjects(FileSystem& files, const std::string& folder,
                         std::chrono::steady_clock::time_point deadline,
                         const CountVisitor& visitor) {
  return Counting(files, visitor).below(folder, deadline);
}

}  // namespace qrt
