#include "platform/linux/files/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/posix/NativeError.h"

namespace qrt {
FileReplacement::FileReplacement(int folder, const std::string& name)
    : folder_(folder), name_(name), temporaryName_("." + name + ".new") {}

FileReplacement::~FileReplacement() {
  if (file_) unlinkat(folder_, temporaryName_.c_str(), 0);
}

PosixResult<FileReplacement> FileReplacement::begin(int folder, const std::string& name) {
  FileReplacement fresh(folder, name);
  const auto* temporaryName = fresh.temporaryName_.c_str();
  if (unlinkat(folder, temporaryName, 0) != 0 && errno != ENOENT) return lastError();
  constexpr int exclusively = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  fresh.file_.reset(openat(folder, temporaryName, exclusively, S_IRUSR | S_IWUSR));
  if (!fresh.file_) return lastError();
  return fresh;
}

PosixCode FileReplacement::write(std::span<const std::uint8_t> contents) {
  while (!contents.empty()) {
    const auto count = ::write(file_.get(), contents.data(), contents.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    contents = contents.subspan(static_cast<std::size_t>(count));
  }
  return PosixCode::success;
}

PosixCode FileReplacement::setOwner(uid_t user, gid_t group) {
  return codeFor(fchown(file_.get(), user, group));
}

PosixCode FileReplacement::setMode(mode_t permissions) {
  return codeFor(fchmod(file_.get(), permissions));
}

PosixCode FileReplacement::commit() {
  if (fsync(file_.get()) != 0) return lastError();
  if (renameat(folder_, temporaryName_.c_str(), folder_, name_.c_str()) != 0) return lastError();
  file_.reset();
  fsync(folder_);
  return PosixCode::success;
}

}  // namespace qrt
