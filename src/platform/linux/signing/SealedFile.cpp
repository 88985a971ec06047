#include "platform/linux/signing/SealedFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/PathText.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/files/ObjectHold.h"
#include "platform/linux/signing/SigningBudget.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

struct SplitPath {
  std::string_view parent;
  std::string name;
};

SplitPath split(std::string_view path) {
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {{}, std::string(path)};
  return {path.substr(0, slash), std::string(path.substr(slash + 1))};
}

}  // namespace

PosixResult<Folder> openFolderBeneath(const Folder& folder, std::string_view path) {
  LinuxFileSystem files;
  auto opened = files.openFolder({folder, "."}, Links::stay);
  while (opened && !path.empty()) {
    const auto end = std::min(path.find('/'), path.size());
    const std::string name(path.substr(0, end));
    if (!isPathComponent(name)) return PosixCode::noEntry;
    opened = files.openFolder({*opened, name.c_str()}, Links::stay);
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return opened;
}

PosixResult<FileDescriptor> openFileBeneath(const Folder& folder, std::string_view path) {
  const auto [parentPath, name] = split(path);
  if (!isPathComponent(name)) return PosixCode::noEntry;
  const auto parent = openFolderBeneath(folder, parentPath);
  if (!parent) return parent.error();
  const auto object = holdObject({*parent, name.c_str()}, Links::stay);
  const auto status = object ? object->status() : object.error();
  if (!status) return status.error();
  if (status->type() != file_type::regular) return PosixCode::invalidArgument;
  return openForReading(*object);
}

PosixResult<Data> readFileBeneath(const Folder& folder, std::string_view path, std::size_t limit) {
  const auto file = openFileBeneath(folder, path);
  if (!file) return file.error();
  return readFile(file->get(), limit);
}

std::uint64_t sizeOfFile(int file) {
  struct stat status;
  return fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool readAt(int file, std::uint64_t offset, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return true;
}

Data digestOfRange(int file, FileRange range, DigestKind kind, SigningBudget& budget) {
  constexpr std::uint64_t chunkSize = 256 << 10;
  if (!SigningBudget::take(budget.bytes, range.size)) return {};
  Data chunk(static_cast<std::size_t>(std::min(chunkSize, range.size)));
  Digest digest(kind);
  for (std::uint64_t done = 0; done < range.size; done += chunk.size()) {
    chunk.resize(static_cast<std::size_t>(std::min(chunkSize, range.size - done)));
    if (!readAt(file, range.offset + done, chunk)) return {};
    digest.add(chunk);
  }
  return digest.finish();
}

}  // namespace qrt
