#include "platform/DiskDescription.h"

#include <dirent.h>
#include <fcntl.h>

#include <charconv>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/Text.h"
#include "platform/linux/files/MountTable.h"
#include "platform/posix/FolderNames.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

/// Without blanks at its end. Empty when the file cannot be read.
std::string textOf(const std::string& path) {
  constexpr std::size_t largestTable = 64 << 20;
  const auto contents = readFile(AT_FDCWD, path.c_str(), largestTable);
  std::string text(contents ? asText(*contents) : std::string_view());
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

std::string resolved(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> whole(::realpath(path.c_str(), nullptr), std::free);
  return whole ? whole.get() : path;
}

std::string lastName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), ::closedir);
  while (listing) {
    const auto* const entry = ::readdir(listing.get());
    if (!entry) break;
    if (!isDotOrDots(entry->d_name)) names.emplace_back(entry->d_name);
  }
  return names;
}

/// The devices of the system, as folders of the kernel: a device's folder contains those of its
/// partitions, and in "holders" the names of the devices that are built on it.
class BlockDevices {
 public:
  explicit BlockDevices(const std::string& root)
      : folders_(root + "/sys/class/block/"), mounts_(textOf(root + "/proc/self/mountinfo")) {}

  DiskDescription describe(const std::string& name) const {
    const auto folder = resolved(folders_ + name);
    DiskDescription disk;
    disk.model = textOf(folder + "/device/model");
    // A partition has its disk's model.
    if (disk.model.empty()) disk.model = textOf(folder + "/../device/model");
    const auto sectors = textOf(folder + "/size");
    std::from_chars(sectors.data(), sectors.data() + sectors.size(), disk.bytes);
    disk.bytes *= 512;  // The kernel's sector, whatever the disk's own is.
    disk.mountPoint = mountPointOf(name, mostLevels);
    return disk;
  }

 private:
  /// More than any stack of devices has.
  static constexpr int mostLevels = 16;

  std::string mountPointOf(const std::string& name, int levels) const {
    const auto folder = resolved(folders_ + name);
    const auto number = textOf(folder + "/dev");
    if (number.empty() || levels == 0) return {};
    if (const auto place = mountPointOfDevice(mounts_, number, "/dev/" + name)) return *place;
    auto users = namesIn(folder + "/holders");
    const auto isPartition = [&](const std::string& part) {
      return !textOf(folder + '/' + part + "/partition").empty();
    };
    for (auto& inner : namesIn(folder)) {
      if (isPartition(inner)) users.push_back(std::move(inner));
    }
    for (const auto& user : users) {
      if (auto place = mountPointOf(user, levels - 1); !place.empty()) return place;
    }
    return {};
  }

  const std::string folders_;
  const std::string mounts_;
};

}  // namespace

DiskDescription describeDisk(const std::string& root, const std::string& name) {
  return BlockDevices(root).describe(lastName(resolved(root + "/dev/" + name)));
}

}  // namespace qrt
