// An open folder.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

struct FolderEntry {
  /// Zero-terminated, one component; valid until the folder's next entry is asked for.
  const char* name;
  /// Type bits (`file_type`), or 0 where the file system does not tell. A whiteout may be told as
  /// the device that stands for it; its status has the right bits.
  std::uint32_t type;
};

/// Distinguishes a folder from every other one, also from a later one that reuses its number.
struct FolderIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  /// When it was made, in nanoseconds since 1970; 0 where the file system does not record it.
  std::int64_t birth = 0;

  bool operator==(const FolderIdentity&) const = default;
};

/// Holds a folder by its descriptor: what happens to its path meanwhile does not matter. Objects in
/// it are addressed as `FileAt{folder, name}`.
///
/// Thread-safety: any thread may use the folder as a base; one thread at a time reads its entries.
class Folder {
 public:
  /// The base that plain paths are relative to.
  static const Folder& ofProcess();

  explicit Folder(FileDescriptor descriptor);
  Folder(Folder&& other) noexcept;
  Folder& operator=(Folder&& other) noexcept;
  ~Folder();

  /// The next entry in the order of the file system, without "." and ".."; none at the end.
  PosixResult<std::optional<FolderEntry>> next();

  /// The next folder among the entries that the system has told already and that are still to come;
  /// null when none is known. Good until the next entry is asked for.
  const char* upcomingFolder() const;

  /// Makes the next entry the first one again, of the folder as it is by then.
  void rewind();

  PosixResult<FolderIdentity> identity() const;

  /// Closes the descriptor and remembers where the listing is. Until `resume`, the folder can be
  /// neither read nor used as a base.
  void suspend();
  /// `reopened` is the same folder, opened again. The listing continues with the entry that would
  /// have been next; an error is that the file system cannot do that.
  PosixCode resume(Folder reopened);

  /// Whether the mount that the folder is on refuses changes. The system is asked once a folder.
  bool isReadOnly() const;

  /// For system calls below this interface.
  int descriptor() const;

 private:
  class Listing;
  enum class Mount : std::uint8_t { notAsked, writable, readOnly };

  FileDescriptor descriptor_;
  /// The entries read ahead; made by the first `next()`.
  std::unique_ptr<Listing> listing_;
  /// Where a listing begins, as the file system counts; 0 except after `suspend()`.
  std::int64_t start_ = 0;
  mutable std::atomic<Mount> mount_ = Mount::notAsked;
};

/// Whether a name that is a link means the link itself or what it leads to.
enum class Links { follow, stay };

/// An object by its name in an open folder, or by a path when the folder is `Folder::ofProcess()`.
/// Refers to both; made on the spot for one call.
struct FileAt {
  FileAt(const Folder& base, const char* objectName) : folder(base), name(objectName) {}
  FileAt(const char* path) : FileAt(Folder::ofProcess(), path) {}

  const Folder& folder;
  const char* name;
};

}  // namespace qrt
