#include "platform/DiskDescription.h"

#include <sys/mount.h>
#include <sys/param.h>

#include <cstddef>
#include <string_view>

namespace qrt {
namespace {

/// "disk2" is the device of "/dev/disk2" and of its part "/dev/disk2s1". The raw device "rdisk2"
/// is the same disk.
bool isPartOf(std::string_view source, std::string_view name) {
  constexpr std::string_view folder = "/dev/";
  if (name.starts_with("rdisk")) name.remove_prefix(1);
  if (!source.starts_with(folder)) return false;
  source.remove_prefix(folder.size());
  if (name.empty() || !source.starts_with(name)) return false;
  source.remove_prefix(name.size());
  return source.empty() || source.front() == 's';
}

}  // namespace

/// Only root can read the size and the model.
DiskDescription describeDisk(const std::string&, const std::string& name) {
  struct statfs* mounts = nullptr;
  const int count = ::getmntinfo(&mounts, MNT_NOWAIT);
  for (int i = 0; i < count; ++i) {
    if (isPartOf(mounts[i].f_mntfromname, name)) return {{}, 0, mounts[i].f_mntonname};
  }
  return {};
}

}  // namespace qrt
