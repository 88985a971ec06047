// An open folder.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

struct FolderEntry {
  /// Zero-terminated, one component; valid until the folder's next entry is asked for.
  const char* name;
  /// Type bits (`file_type`), or 0 where the file system does not tell.
  std::uint32_t type;
};

/// Holds a folder by its descriptor: what happens to its path meanwhile does not matter. Objects in
/// it are addressed as `FileAt{folder, name}`.
///
/// Thread-safety: any thread may use the folder as a base; one thread at a time reads its entries.
class Folder {
 public:
  /// The base that plain paths are relative to.
  static const Folder& ofProcess();

  explicit Folder(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}
  Folder(Folder&& other) noexcept;
  Folder& operator=(Folder&& other) noexcept;
  ~Folder();

  /// The next entry in the order of the file system, without "." and ".."; none at the end.
  PosixResult<std::optional<FolderEntry>> next();

  /// For system calls below this interface.
  int descriptor() const;

 private:
  FileDescriptor descriptor_;
  /// The stream over the entries, opened by the first `next()`. It then owns the descriptor.
  void* stream_ = nullptr;
};

/// An object by its name in an open folder, or by a path when the folder is `Folder::ofProcess()`.
/// Refers to both; made on the spot for one call.
struct FileAt {
  FileAt(const Folder& base, const char* objectName) : folder(base), name(objectName) {}
  FileAt(const char* path) : FileAt(Folder::ofProcess(), path) {}

  const Folder& folder;
  const char* name;
};

}  // namespace qrt
