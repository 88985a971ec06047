#include "platform/linux/files/StateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/files/FileReplacement.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

constexpr mode_t onlyOwner = 0700;

/// Begins like the temporary names, so that no file of a caller has it.
constexpr const char* lockName = ".lock";

}  // namespace

PosixResult<FileDescriptor> StateFolder::open() {
  if (mkdir(path_.c_str(), onlyOwner) < 0 && errno != EEXIST) return lastError();
  FileDescriptor folder(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  struct stat status;
  if (fstat(folder.get(), &status) < 0) return lastError();
  // A folder that other users can write is not trusted.
  const bool foreign = status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (foreign) return PosixCode::permissionDenied;
  return folder;
}

PosixResult<StateFolder::Lock> StateFolder::openLock() {
  auto folder = open();
  if (!folder) return folder.error();
  FileDescriptor file(
      openat(folder->get(), lockName, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return lastError();
  return file;
}

PosixCode StateFolder::waitFor(const Lock& lock) {
  while (flock(lock.get(), LOCK_EX) < 0) {
    if (errno != EINTR) return lastError();
  }
  return PosixCode::success;
}

PosixResult<StateFolder::Lock> StateFolder::lock() {
  auto lock = openLock();
  if (!lock) return lock;
  const auto code = waitFor(*lock);
  if (code != PosixCode::success) return code;
  return lock;
}

PosixResult<Data> StateFolder::read(const std::string& name) {
  auto folder = open();
  if (!folder) return folder.error();
  const FileDescriptor file(openat(folder->get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file) return lastError();
  return readFile(file.get(), maximumBytes_);
}

PosixCode StateFolder::replace(const std::string& name, std::span<const std::uint8_t> contents) {
  if (contents.size() > maximumBytes_) return PosixCode::noSpace;
  const auto folder = open();
  if (!folder) return folder.error();
  return replaceFile(folder->get(), name, {contents, 0600});
}

std::uint64_t StateFolder::version(const std::string& name) {
  struct stat status;
  if (stat((path_ + "/" + name).c_str(), &status) < 0) return 0;
  // A replaced file has another inode, an edited one another change time.
  const auto changed = static_cast<std::uint64_t>(status.st_ctim.tv_sec) * 1'000'000'000 +
                       static_cast<std::uint64_t>(status.st_ctim.tv_nsec);
  return changed * 31 + status.st_ino;
}

}  // namespace qrt
