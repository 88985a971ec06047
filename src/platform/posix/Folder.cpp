#include "platform/Folder.h"

#include <fcntl.h>
#include <sys/statvfs.h>

namespace qrt {

const Folder& Folder::ofProcess() {
  static const Folder folder{FileDescriptor(AT_FDCWD)};
  return folder;
}

bool Folder::isReadOnly() const {
  auto mount = mount_.load(std::memory_order_relaxed);
  if (mount == Mount::notAsked) {
    struct statvfs answer {};
    const bool readOnly =
        ::fstatvfs(descriptor(), &answer) == 0 && (answer.f_flag & ST_RDONLY) != 0;
    mount = readOnly ? Mount::readOnly : Mount::writable;
    mount_.store(mount, std::memory_order_relaxed);
  }
  return mount == Mount::readOnly;
}

}  // namespace qrt
