#include "filesystem/walk/ReopenableFolder.h"

namespace qrt {

PosixCode ReopenableFolder::close() {
  const auto identity = folder_.identity();
  if (!identity) return identity.error();
  identity_ = *identity;
  folder_.suspend();
  isOpen_ = false;
  return PosixCode::success;
}

PosixCode ReopenableFolder::reopen(FileSystem& files, const Folder& subfolder) {
  auto found = files.openFolder({subfolder, ".."}, Links::stay);
  if (!found) return found.error();
  const auto identity = found->identity();
  if (!identity) return identity.error();
  if (*identity != identity_) return PosixCode::noEntry;
  isOpen_ = true;
  return folder_.resume(std::move(*found));
}

}  // namespace qrt
