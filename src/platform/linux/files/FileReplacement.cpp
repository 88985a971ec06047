#include "platform/linux/files/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/FileDescriptor.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

PosixCode write(int file, std::span<const std::uint8_t> contents) {
  while (!contents.empty()) {
    const auto count = ::write(file, contents.data(), contents.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    contents = contents.subspan(static_cast<std::size_t>(count));
  }
  return PosixCode::success;
}

/// Each step runs only when those before it succeeded.
PosixCode complete(int descriptor, const NewFile& file) {
  auto code = write(descriptor, file.contents);
  if (code == PosixCode::success) code = codeFor(fchmod(descriptor, file.permissions));
  if (code == PosixCode::success && file.prepare) code = file.prepare(descriptor);
  return code == PosixCode::success ? codeFor(fsync(descriptor)) : code;
}

}  // namespace

PosixCode replaceFile(int folder, const std::string& name, const NewFile& file) {
  const auto temporaryName = "." + name + ".new";
  const auto removeTemporary = [&] { return unlinkat(folder, temporaryName.c_str(), 0); };
  if (removeTemporary() != 0 && errno != ENOENT) return lastError();
  constexpr int exclusively = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor opened(
      openat(folder, temporaryName.c_str(), exclusively, S_IRUSR | S_IWUSR));
  if (!opened) return lastError();
  auto code = complete(opened.get(), file);
  if (code == PosixCode::success) {
    code = codeFor(renameat(folder, temporaryName.c_str(), folder, name.c_str()));
  }
  if (code != PosixCode::success) {
    removeTemporary();
    return code;
  }
  fsync(folder);
  return PosixCode::success;
}

}  // namespace qrt
