#include "platform/FileDescriptor.h"

#include <unistd.h>

namespace qrt {

void FileDescriptor::reset(int descriptor) {
  // After EINTR the descriptor is gone on both ports; closing again could hit another thread's.
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = descriptor;
}

}  // namespace qrt
