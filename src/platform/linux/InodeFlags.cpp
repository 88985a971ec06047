#include "platform/linux/InodeFlags.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/ObjectHandle.h"
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

/// `word` with the bits of each row's `bit` as `wanted` has its flag.
template <class Word>
Word adapted(Word word, Word Row::*bit, std::uint32_t wanted) {
  for (const auto& row : rows) {
    word = (wanted & row.flag) != 0 ? word | row.*bit : word & ~(row.*bit);
  }
  return word;
}

/// The kernel's `struct file_attr` and its two calls, which the system's headers do not have yet.
struct FileAttributes {
  std::uint64_t extendedFlags = 0;
  std::uint32_t extentSize = 0;
  std::uint32_t extentCount = 0;
  std::uint32_t project = 0;
  std::uint32_t copyExtentSize = 0;
};
constexpr long getFileAttributes = 468;
constexpr long setFileAttributes = 469;

/// File systems and drivers have several ways to say that they have no flags.
PosixCode lastFlagError() { return errno == ENOTTY ? PosixCode::notSupported : lastError(); }

bool callByName(long call, FileAt object, FileAttributes& attributes) {
  return ::syscall(call, object.folder.descriptor(), object.name, &attributes, sizeof attributes,
                   AT_SYMLINK_NOFOLLOW) == 0;
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

PosixCode write(FileAt object, Links links, std::uint32_t wanted) {
  if (links == Links::stay) {
    const auto code = writeByName(object, wanted);
    if (code != PosixCode::notImplemented) return code;
  }
  return writeByDescriptor(object, links, wanted);
}

PosixCode writeByName(FileAt object, std::uint32_t wanted) {
  FileAttributes attributes;
  if (!callByName(getFileAttributes, object, attributes)) return lastFlagError();
  attributes.extendedFlags = adapted(attributes.extendedFlags, &Row::extendedFlag, wanted);
  if (!callByName(setFileAttributes, object, attributes)) return lastFlagError();
  return PosixCode::success;
}

PosixCode writeByDescriptor(FileAt object, Links links, std::uint32_t wanted) {
  auto handle = ObjectHandle::open(object, links);
  if (!handle) return handle.error();
  if (!mayBeOn(handle->type())) return PosixCode::notSupported;
  return write(std::move(*handle).takeDescriptor().get(), wanted);
}

PosixCode write(int object, std::uint32_t wanted) {
  const auto file = openForReading(object);
  if (!file) return file.error();
  std::uint32_t word = 0;
  if (::ioctl(file->get(), FS_IOC_GETFLAGS, &word) != 0) return lastFlagError();
  word = adapted(word, &Row::inodeFlag, wanted);
  if (::ioctl(file->get(), FS_IOC_SETFLAGS, &word) != 0) return lastFlagError();
  return PosixCode::success;
}

}  // namespace qrt::inode_flags
