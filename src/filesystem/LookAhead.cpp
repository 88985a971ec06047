#include "filesystem/LookAhead.h"

#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/PathText.h"

namespace qrt {
namespace {

struct Sighting {
  std::string path;
  std::optional<FileStatus> status;
  /// Holds the object whose status is still to be read.
  std::shared_ptr<const Folder> folder;
};

/// A piece of a walk. Used again and again, so that its paths need no new memory.
class Piece {
 public:
  /// Lists the objects and reads the status of some of them.
  void fill(FileSystem& files, QRTDirectoryEnumerator& walk) {
    std::size_t folders = 0;
    for (count_ = 0; count_ < maximumObjects && folders < maximumFolders; ++count_) {
      if (!walk.advance()) return;
      if (count_ == sightings_.size()) sightings_.emplace_back();
      auto& sighting = sightings_[count_];
      sighting.path = walk.objectPath();
      if (count_ % objectsPerStatus == 0) {
        sighting.status = statusOf(files, walk.object());
        continue;
      }
      sighting.folder = walk.objectFolder();
      if (sighting.folder != sightings_[count_ - 1].folder) ++folders;
    }
    isFull_ = true;
  }

  /// False for the last piece.
  bool isFull() const { return isFull_; }

  void lookAtEach(FileSystem& files, const Look& look) {
    for (std::size_t i = 0; i < count_; ++i) {
      auto& sighting = sightings_[i];
      if (const auto folder = std::exchange(sighting.folder, nullptr)) {
        sighting.status = statusOf(files, {*folder, lastPathComponent(sighting.path).data()});
      }
      if (sighting.status) look(sighting.path, *sighting.status);
    }
    isFull_ = false;
  }

 private:
  static constexpr std::size_t maximumObjects = 2048;
  static constexpr std::size_t maximumFolders = 256;
  /// Listing takes about half the time of reading the statuses, of which this leaves each thread
  /// its share.
  static constexpr std::size_t objectsPerStatus = 4;

  static std::optional<FileStatus> statusOf(FileSystem& files, FileAt object) {
    const auto status = files.status(object, Links::stay);
    return status ? std::optional(*status) : std::nullopt;
  }

  std::vector<Sighting> sightings_;
  std::size_t count_ = 0;
  bool isFull_ = false;
};

}  // namespace

void lookAtEach(FileSystem& files, QRTDirectoryEnumerator& walk, const Look& look) {
  Piece here, ahead;
  here.fill(files, walk);
  while (here.isFull()) {
    auto walking =
        std::async(std::launch::async | std::launch::deferred, [&] { ahead.fill(files, walk); });
    here.lookAtEach(files, look);
    walking.get();
    std::swap(here, ahead);
  }
  here.lookAtEach(files, look);
}

}  // namespace qrt
