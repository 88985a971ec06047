#include "platform/linux/signing/SignedFiles.h"

#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "base/Path.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/files/ObjectHold.h"

namespace qrt {
namespace {

const EVP_MD* algorithm(DigestKind kind) {
  switch (kind) {
    case DigestKind::sha1:
      return EVP_sha1();
    case DigestKind::sha256:
    case DigestKind::sha256Truncated:
      return EVP_sha256();
    case DigestKind::sha384:
      return EVP_sha384();
  }
  return nullptr;
}

using DigestContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

bool readFully(int file, std::uint64_t offset, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return true;
}

}  // namespace

std::size_t digestSize(DigestKind kind) {
  if (kind == DigestKind::sha256Truncated) return digestSize(DigestKind::sha1);
  const auto* digest = algorithm(kind);
  return digest ? static_cast<std::size_t>(EVP_MD_get_size(digest)) : 0;
}

Data digestOf(DigestKind kind, Bytes bytes) {
  Data digest(EVP_MAX_MD_SIZE);
  const bool isDone =
      EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, algorithm(kind), nullptr) == 1;
  digest.resize(isDone ? digestSize(kind) : 0);
  return digest;
}

PosixResult<Folder> openFolderBeneath(const Folder& folder, std::string_view path) {
  LinuxFileSystem files;
  auto opened = files.openFolder({folder, "."}, Links::stay);
  while (opened && !path.empty()) {
    const std::string name(path::takeFirstComponent(path));
    opened = files.openFolder({*opened, name.c_str()}, Links::stay);
  }
  return opened;
}

PosixResult<FileDescriptor> openRegularFile(FileAt object) {
  const auto held = holdObject(object, Links::stay);
  const auto status = held ? held->status() : held.error();
  if (!status) return status.error();
  if (status->type() != file_type::regular) return PosixCode::invalidArgument;
  return openForReading(*held);
}

PosixResult<FileDescriptor> openFileBeneath(const Folder& folder, std::string_view path) {
  const auto parent = openFolderBeneath(folder, path::withoutLastComponent(path));
  if (!parent) return parent.error();
  const std::string name(path::lastComponent(path));
  return openRegularFile({*parent, name.c_str()});
}

std::uint64_t sizeOfFile(int file) {
  struct stat status;
  return fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

std::optional<Data> readRange(int file, FileRange range) {
  Data bytes(static_cast<std::size_t>(range.size));
  return readFully(file, range.offset, bytes) ? std::optional(std::move(bytes)) : std::nullopt;
}

Data digestOfRange(int file, FileRange range, DigestKind kind, SigningBudget& budget) {
  constexpr std::uint64_t chunkSize = 256 << 10;
  const DigestContext context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  bool works = SigningBudget::take(budget.bytes, range.size) && context &&
               EVP_DigestInit_ex(context.get(), algorithm(kind), nullptr) == 1;
  for (std::uint64_t done = 0; works && done < range.size; done += chunkSize) {
    const auto chunk =
        readRange(file, {range.offset + done, std::min(chunkSize, range.size - done)});
    works = chunk && EVP_DigestUpdate(context.get(), chunk->data(), chunk->size()) == 1;
  }
  Data digest(EVP_MAX_MD_SIZE);
  works = works && EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1;
  digest.resize(works ? digestSize(kind) : 0);
  return digest;
}

}  // namespace qrt
