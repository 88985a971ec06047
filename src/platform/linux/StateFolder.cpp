#include "platform/linux/StateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

constexpr mode_t onlyOwner = 0700;
constexpr std::size_t maximumBytes = 1 << 20;

PosixCode writeAll(int file, std::span<const std::uint8_t> contents) {
  while (!contents.empty()) {
    const auto count = write(file, contents.data(), contents.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    contents = contents.subspan(static_cast<std::size_t>(count));
  }
  return fsync(file) < 0 ? lastError() : PosixCode::success;
}

}  // namespace

PosixResult<FileDescriptor> StateFolder::open() {
  if (mkdir(path_.c_str(), onlyOwner) < 0 && errno != EEXIST) return lastError();
  FileDescriptor folder(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  struct stat status;
  if (fstat(folder.get(), &status) < 0) return lastError();
  // What anyone else could write is not ours to trust.
  const bool foreign = status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (foreign) return PosixCode::permissionDenied;
  return folder;
}

PosixResult<StateFolder::Lock> StateFolder::lock() {
  auto folder = open();
  if (!folder) return folder.error();
  FileDescriptor file(
      openat(folder->get(), "lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return lastError();
  while (flock(file.get(), LOCK_EX) < 0) {
    if (errno != EINTR) return lastError();
  }
  return file;
}

PosixResult<Data> StateFolder::read(const std::string& name) {
  auto folder = open();
  if (!folder) return folder.error();
  const FileDescriptor file(openat(folder->get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file) return lastError();
  Data contents;
  for (;;) {
    const auto before = contents.size();
    contents.resize(before + 4096);
    const auto count = ::read(file.get(), contents.data() + before, 4096);
    contents.resize(before + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count < 0 && errno != EINTR) return lastError();
    if (count == 0) return contents;
    if (contents.size() > maximumBytes) return PosixCode::noSpace;
  }
}

PosixCode StateFolder::replace(const std::string& name, std::span<const std::uint8_t> contents) {
  auto folder = open();
  if (!folder) return folder.error();
  const std::string fresh = name + ".new";
  if (unlinkat(folder->get(), fresh.c_str(), 0) < 0 && errno != ENOENT) return lastError();
  const FileDescriptor file(openat(folder->get(), fresh.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return lastError();
  if (const auto code = writeAll(file.get(), contents); code != PosixCode::success) {
    unlinkat(folder->get(), fresh.c_str(), 0);
    return code;
  }
  if (renameat(folder->get(), fresh.c_str(), folder->get(), name.c_str()) < 0) return lastError();
  fsync(folder->get());
  return PosixCode::success;
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
