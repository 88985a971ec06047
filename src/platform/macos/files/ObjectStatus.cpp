#include "platform/macos/files/ObjectStatus.h"

#include <fcntl.h>
#include <sys/attr.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

struct MountStatus {
  std::uint32_t length = 0;
  std::uint32_t bits = 0;
};

double seconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

FileStatus statusOf(const struct stat& answer) {
  FileStatus status;
  status.mode = answer.st_mode;
  status.flags = answer.st_flags;
  status.userID = answer.st_uid;
  status.groupID = answer.st_gid;
  status.device = static_cast<std::uint32_t>(answer.st_dev);
  status.inode = answer.st_ino;
  status.linkCount = answer.st_nlink;
  status.size = static_cast<std::uint64_t>(answer.st_size);
  status.modificationDate.secondsSince1970 = seconds(answer.st_mtimespec);
  return status;
}

/// `ask` is one of the calls for attributes, without its list and the arguments after it.
template <class Ask>
bool isMountRoot(Ask ask) {
  attrlist wanted{};
  wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
  wanted.dirattr = ATTR_DIR_MOUNTSTATUS;
  MountStatus answer;
  return ask(&wanted, &answer, sizeof answer) == 0 && (answer.bits & DIR_MNTSTATUS_MNTPOINT) != 0;
}

}  // namespace

PosixResult<FileStatus> objectStatus(int folder, const char* name, Links links) {
  const bool stay = links == Links::stay;
  struct stat answer;
  if (::fstatat(folder, name, &answer, stay ? AT_SYMLINK_NOFOLLOW : 0) != 0) return lastError();
  auto status = statusOf(answer);
  if (!status.isFolder()) return status;
  status.isMountRoot = isMountRoot([&](auto... rest) {
    return ::getattrlistat(folder, name, rest..., stay ? FSOPT_NOFOLLOW : 0);
  });
  return status;
}

PosixResult<struct stat> nativeStatus(const HeldObject& object) {
  struct stat status;
  const int result = object.name().empty() ? ::fstat(object.descriptor(), &status)
                                           : ::fstatat(object.descriptor(), object.name().c_str(),
                                                       &status, AT_SYMLINK_NOFOLLOW);
  if (result != 0) return lastError();
  return status;
}

PosixResult<FileStatus> objectStatus(int object) {
  struct stat answer;
  if (::fstat(object, &answer) != 0) return lastError();
  auto status = statusOf(answer);
  if (!status.isFolder()) return status;
  status.isMountRoot =
      isMountRoot([&](auto... rest) { return ::fgetattrlist(object, rest..., 0); });
  return status;
}

}  // namespace qrt
