#include "platform/Folder.h"

#include <fcntl.h>

#include "platform/posix/ReadOnlyMount.h"

namespace qrt {

const Folder& Folder::ofProcess() {
  static const Folder folder{FileDescriptor(AT_FDCWD)};
  return folder;
}

bool Folder::isReadOnly() const {
  auto mount = mount_.load(std::memory_order_relaxed);
  if (mount == Mount::notAsked) {
    mount = refusesChanges(descriptor()) ? Mount::readOnly : Mount::writable;
    mount_.store(mount, std::memory_order_relaxed);
  }
  return mount == Mount::readOnly;
}

}  // namespace qrt
