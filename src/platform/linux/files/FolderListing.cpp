#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/Folder.h"
#include "platform/posix/FolderNames.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// Reads the kernel's records itself: a C library stream costs two more system calls a folder.
class Folder::Listing {
 public:
  /// `start` is where the folder's descriptor is to be read from.
  explicit Listing(std::int64_t start) : nextOffset_(start) {}

  /// Null at the end. The record is valid until the next call.
  PosixResult<const dirent64*> next(int folder) {
    for (;;) {
      if (position_ == filled_) {
        const auto count = isKnownToHaveEnded() ? 0 : ::getdents64(folder, records_, capacity);
        if (count < 0) return lastError();
        if (count == 0) return nullptr;
        position_ = 0;
        filled_ = static_cast<std::size_t>(count);
      }
      const auto& record = recordAt(position_);
      position_ += record.d_reclen;
      nextOffset_ = record.d_off;
      if (!isDotOrDots(record.d_name)) return &record;
    }
  }

  /// Where the file system continues after the last entry that was returned.
  std::int64_t offset() const { return nextOffset_; }

  const char* upcomingFolder(const char* previous) const {
    bool isAfter = previous == nullptr;
    for (auto at = position_; at != filled_; at += recordAt(at).d_reclen) {
      const auto& record = recordAt(at);
      if (record.d_type != DT_DIR || isDotOrDots(record.d_name)) continue;
      if (isAfter) return record.d_name;
      isAfter = std::strcmp(record.d_name, previous) == 0;
    }
    return nullptr;
  }

 private:
  /// A larger buffer is no faster, and a walk holds one for each level of a tree.
  static constexpr std::size_t capacity = 8 * 1024;

  /// After their last entry, most file systems continue at the largest offset, of 32 or 64 bits.
  /// Knowing it saves one more call.
  bool isKnownToHaveEnded() const {
    return nextOffset_ == std::numeric_limits<std::int32_t>::max() ||
           nextOffset_ == std::numeric_limits<std::int64_t>::max();
  }

  const dirent64& recordAt(std::size_t at) const {
    return *reinterpret_cast<const dirent64*>(records_ + at);
  }

  std::size_t position_ = 0;
  std::size_t filled_ = 0;
  off64_t nextOffset_;
  alignas(dirent64) std::byte records_[capacity];
};

Folder::Folder(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

Folder::Folder(Folder&& other) noexcept
    : descriptor_(std::move(other.descriptor_)),
      listing_(std::move(other.listing_)),
      start_(other.start_),
      mount_(other.mount_.load(std::memory_order_relaxed)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
  descriptor_ = std::move(other.descriptor_);
  listing_ = std::move(other.listing_);
  start_ = other.start_;
  mount_.store(other.mount_.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return *this;
}

Folder::~Folder() = default;

PosixResult<std::optional<FolderEntry>> Folder::next() {
  // Not make_unique: it would fill the buffer with zeros first.
  if (!listing_) listing_.reset(new Listing(start_));
  const auto record = listing_->next(descriptor());
  if (!record) return record.error();
  if (*record == nullptr) {
    // The folder may stay open for a long time.
    listing_.reset();
    return std::optional<FolderEntry>();
  }
  return std::optional(FolderEntry{
      (*record)->d_name, static_cast<std::uint32_t>(DTTOIF((*record)->d_type)), (*record)->d_ino});
}

const char* Folder::upcomingFolder(const char* previous) const {
  return listing_ ? listing_->upcomingFolder(previous) : nullptr;
}

void Folder::rewind() {
  ::lseek(descriptor(), 0, SEEK_SET);
  listing_.reset();
  start_ = 0;
}

PosixResult<FolderIdentity> Folder::identity() const {
  struct statx answer;
  if (::statx(descriptor(), "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME, &answer) != 0) {
    return lastError();
  }
  constexpr std::int64_t nanoseconds = 1'000'000'000;
  const bool hasBirth = (answer.stx_mask & STATX_BTIME) != 0;
  const auto& birth = answer.stx_btime;
  return FolderIdentity{makedev(answer.stx_dev_major, answer.stx_dev_minor), answer.stx_ino,
                        hasBirth ? birth.tv_sec * nanoseconds + birth.tv_nsec : 0};
}

void Folder::suspend() {
  if (listing_) start_ = listing_->offset();
  listing_.reset();
  descriptor_ = FileDescriptor();
}

PosixCode Folder::resume(Folder reopened) {
  descriptor_ = std::move(reopened.descriptor_);
  const bool isAtStart = start_ == 0 || ::lseek(descriptor(), start_, SEEK_SET) == start_;
  return isAtStart ? PosixCode::success : lastError();
}

int Folder::descriptor() const { return descriptor_.get(); }

}  // namespace qrt
