#include "platform/linux/files/InodeFlags.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/files/DescriptorPath.h"
#include "platform/linux/files/ObjectHold.h"
#include "platform/posix/NativeError.h"

namespace qrt::inode_flags {
namespace {

struct Row {
  std::uint32_t flag;
  std::uint64_t attribute;
  std::uint32_t inodeFlag;
  std::uint64_t extendedFlag;
};

constexpr Row rows[] = {
    {file_flag::userImmutable, STATX_ATTR_IMMUTABLE, FS_IMMUTABLE_FL, FS_XFLAG_IMMUTABLE},
    {file_flag::userAppendOnly, STATX_ATTR_APPEND, FS_APPEND_FL, FS_XFLAG_APPEND},
};

/// `word` with the bit of each flag that changes.
template <class Word>
Word adapted(Word word, Word Row::*bit, Change change) {
  for (const auto& row : rows) {
    if (((change.seen ^ change.wanted) & row.flag) == 0) continue;
    word = (change.wanted & row.flag) != 0 ? word | row.*bit : word & ~(row.*bit);
  }
  return word;
}

/// The kernel's `struct file_attr` and its two calls; the system's headers lack them.
struct FileAttributes {
  std::uint64_t extendedFlags = 0;
  std::uint32_t extentSize = 0;
  std::uint32_t extentCount = 0;
  std::uint32_t project = 0;
  std::uint32_t copyExtentSize = 0;
};
constexpr long getFileAttributes = 468;
constexpr long setFileAttributes = 469;

/// File systems and drivers have several codes for "no flags".
PosixCode lastFlagError() { return errno == ENOTTY ? PosixCode::notSupported : lastError(); }

PosixCode callByName(int folder, const char* name, int options, Change change) {
  FileAttributes attributes;
  const auto call = [&](long number) {
    return ::syscall(number, folder, name, &attributes, sizeof attributes, options) == 0;
  };
  if (!call(getFileAttributes)) return lastFlagError();
  attributes.extendedFlags = adapted(attributes.extendedFlags, &Row::extendedFlag, change);
  return call(setFileAttributes) ? PosixCode::success : lastFlagError();
}

}  // namespace

std::uint32_t fromAttributes(std::uint64_t attributes) {
  std::uint32_t flags = 0;
  for (const auto& row : rows) {
    if ((attributes & row.attribute) != 0) flags |= row.flag;
  }
  return flags;
}

bool mayBeOn(std::uint32_t type) { return type == file_type::regular || type == file_type::folder; }

bool canBe(std::uint32_t flags, std::uint32_t type) {
  constexpr auto known = file_flag::userImmutable | file_flag::userAppendOnly;
  return (flags & ~known) == 0 && mayBeOn(type);
}

PosixCode write(FileAt object, Change change) {
  const auto code = writeByName(object, change);
  if (code != PosixCode::notImplemented) return code;
  const auto held = holdObject(object, Links::stay);
  return held ? writeByDescriptor(*held, change) : held.error();
}

PosixCode write(const HeldObject& object, Change change) {
  constexpr int throughDescriptor = 0;
  const auto path = descriptorPath(object.descriptor());
  const auto code = callByName(AT_FDCWD, path.c_str(), throughDescriptor, change);
  return code == PosixCode::notImplemented ? writeByDescriptor(object, change) : code;
}

PosixCode writeByName(FileAt object, Change change) {
  return callByName(object.folder.descriptor(), object.name, AT_SYMLINK_NOFOLLOW, change);
}

PosixCode writeByDescriptor(const HeldObject& object, Change change) {
  const auto status = object.status();
  if (!status) return status.error();
  if (!mayBeOn(status->type())) return PosixCode::notSupported;
  const auto file = openForReading(object);
  if (!file) return file.error();
  std::uint32_t word = 0;
  if (::ioctl(file->get(), FS_IOC_GETFLAGS, &word) != 0) return lastFlagError();
  word = adapted(word, &Row::inodeFlag, change);
  if (::ioctl(file->get(), FS_IOC_SETFLAGS, &word) != 0) return lastFlagError();
  return PosixCode::success;
}

}  // namespace qrt::inode_flags
