#include "platform/FileDescriptor.h"

#include <unistd.h>

namespace qrt {

void FileDescriptor::reset(int descriptor) {
  // Both ports have closed the descriptor even after EINTR; a second close could hit another
  // thread's descriptor.
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = descriptor;
}

}  // namespace qrt
