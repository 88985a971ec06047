#include "platform/linux/ObjectHandle.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/DescriptorPath.h"
#include "platform/posix/NativeError.h"

namespace qrt {

PosixResult<ObjectHandle> ObjectHandle::open(FileAt object, Links links) {
  const int stay = links == Links::stay ? O_NOFOLLOW : 0;
  FileDescriptor descriptor(
      ::openat(object.folder.descriptor(), object.name, O_PATH | O_CLOEXEC | stay));
  struct stat answer;
  if (!descriptor || ::fstat(descriptor.get(), &answer) != 0) return lastError();
  return ObjectHandle(std::move(descriptor), answer.st_mode & file_type::mask);
}

std::string ObjectHandle::path() const { return descriptorPath(descriptor_.get()); }

PosixResult<FileDescriptor> openForReading(int object) {
  FileDescriptor opened(
      ::open(descriptorPath(object).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!opened) return lastError();
  return opened;
}

}  // namespace qrt
