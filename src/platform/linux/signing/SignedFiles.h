// Opens, reads and hashes the files that a signature covers. None of them is trusted.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/Folder.h"
#include "platform/linux/signing/BoundedBytes.h"

namespace qrt {

/// The numbers that signatures use.
enum class DigestKind : std::uint8_t { sha1 = 1, sha256 = 2, sha256Truncated = 3, sha384 = 4 };

/// In bytes; 0 for an unknown kind.
std::size_t digestSize(DigestKind kind);

/// Truncated kinds are cut to their size. Empty, which equals no digest, when it cannot be
/// computed.
Data digestOf(DigestKind kind, Bytes bytes);

/// What checking one signature may cost. Only a hostile bundle needs more: the largest installers
/// have some 16 GiB.
struct SigningBudget {
  /// Bytes that are hashed.
  std::uint64_t bytes = std::uint64_t{32} << 30;
  /// Entries of folders.
  std::uint64_t objects = 2'000'000;
  /// Comparisons of a path with the pattern of a resource rule.
  std::uint64_t patterns = 250'000;

  /// Returns false and takes nothing when less is left.
  static bool take(std::uint64_t& from, std::uint64_t amount) {
    if (from < amount) return false;
    from -= amount;
    return true;
  }
};

/// Opens a folder by a path of names below another folder without following links. An empty path
/// opens that folder itself once more.
PosixResult<Folder> openFolderBeneath(const Folder& folder, std::string_view path);

/// Opens a regular file without following links. Anything else is `invalidArgument` and is never
/// opened.
PosixResult<FileDescriptor> openRegularFile(FileAt object);
PosixResult<FileDescriptor> openFileBeneath(const Folder& folder, std::string_view path);

/// 0 when the size cannot be read.
std::uint64_t sizeOfFile(int file);

struct FileRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;

  friend bool operator==(const FileRange&, const FileRange&) = default;
};

/// None when the file ends before the range does. The caller bounds the size.
std::optional<Data> readRange(int file, FileRange range);

/// Empty when the file ends before the range does or the budget does not suffice.
Data digestOfRange(int file, FileRange range, DigestKind kind, SigningBudget& budget);

}  // namespace qrt
