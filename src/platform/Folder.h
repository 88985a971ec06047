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
  /// One component, zero-terminated; valid until the next call of `Folder::next`.
  const char* name;
  /// Type bits (`file_type`), or 0 where the file system does not report them. A whiteout can have
  /// the type of the device that represents it; its status has the right bits.
  std::uint32_t type;
  /// The object's number on its file system; on some, another number than its status has.
  std::uint64_t inode;
};

/// Identifies a folder. Also differs from that of a later folder with the same inode number.
struct FolderIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  /// Time of creation in nanoseconds since 1970; 0 where the file system does not record it.
  std::int64_t birth = 0;

  bool operator==(const FolderIdentity&) const = default;
};

/// Holds a folder by its descriptor, so changes of its path have no effect. Objects in it are
/// addressed as `FileAt{folder, name}`.
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

  /// The next entry in the order of the file system, without "." and ".."; no value at the end.
  PosixResult<std::optional<FolderEntry>> next();

  /// The next folder among the entries that were read ahead, or the next one after the folder
  /// `previous`; null when there is none. Valid until the next call of `next`.
  const char* upcomingFolder(const char* previous = nullptr) const;

  /// Starts the listing again, with the folder's entries at that time.
  void rewind();

  PosixResult<FolderIdentity> identity() const;

  /// Closes the descriptor and remembers where the listing is. Until `resume`, the folder can be
  /// neither read nor used as a base.
  void suspend();
  /// `reopened` is the same folder, opened again. The listing continues with the next entry; an
  /// error means that the file system cannot continue a listing.
  PosixCode resume(Folder reopened);

  /// Whether the folder's mount refuses changes. Asks the system once for each folder.
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

/// Whether a link's name means the object that it leads to (`follow`) or the link itself (`stay`).
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
