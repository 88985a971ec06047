#include "client/cli/paths/ObjectCount.h"

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/FileSystem.h"

namespace qrt {
namespace {

/// Each level holds a descriptor.
constexpr std::size_t mostLevels = 200;

class Counting {
 public:
  explicit Counting(FileSystem& files) : files_(files) {}

  ObjectCount below(const std::string& folder, std::chrono::steady_clock::time_point deadline) {
    enter(folder.c_str());
    while (!levels_.empty() && std::chrono::steady_clock::now() < deadline) visitNext();
    if (!levels_.empty()) count_.isComplete = false;
    return count_;
  }

 private:
  void enter(FileAt object) {
    auto folder = levels_.size() < mostLevels ? files_.openFolder(object, Links::stay)
                                              : PosixResult<Folder>(PosixCode::tooManyFiles);
    if (folder) {
      levels_.push_back(std::move(*folder));
    } else {
      count_.isComplete = false;
    }
  }

  void visitNext() {
    const auto entry = levels_.back().next();
    if (!entry) count_.isComplete = false;
    if (!entry || !*entry) return levels_.pop_back();
    const FileAt object{levels_.back(), (*entry)->name};
    const auto status = files_.status(object, Links::stay);
    if (!status) {
      count_.isComplete = false;
      return;
    }
    ++count_.objects;
    if (status->type() == file_type::regular) count_.bytes += status->size;
    if (status->isFolder()) enter(object);
  }

  FileSystem& files_;
  std::vector<Folder> levels_;
  ObjectCount count_;
};

}  // namespace

ObjectCount countObjects(FileSystem& files, const std::string& folder,
                         std::chrono::steady_clock::time_point deadline) {
  return Counting(files).below(folder, deadline);
}

}  // namespace qrt
