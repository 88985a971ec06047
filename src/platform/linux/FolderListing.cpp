#include <dirent.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <limits>

#include "platform/Folder.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

bool isDotOrDots(const char* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

}  // namespace

/// Reads the kernel's records itself: a C library stream costs two more system calls a folder.
struct Folder::Listing {
  /// More brings nothing, and deep trees hold one a level.
  static constexpr std::size_t capacity = 8 * 1024;

  std::size_t position = 0;
  std::size_t filled = 0;
  /// Where the file system goes on behind the last record that was taken.
  off64_t nextOffset = 0;
  alignas(dirent64) std::byte records[capacity];

  bool isConsumed() const { return position == filled; }

  /// Most file systems go on at the largest offset there is, of 32 or 64 bits, when nothing
  /// follows. That saves asking them once more.
  bool isKnownToHaveEnded() const {
    return nextOffset == std::numeric_limits<std::int32_t>::max() ||
           nextOffset == std::numeric_limits<std::int64_t>::max();
  }

  const dirent64& take() {
    const auto& record = recordAt(position);
    position += record.d_reclen;
    nextOffset = record.d_off;
    return record;
  }

  const char* upcomingFolder() const {
    for (auto at = position; at != filled; at += recordAt(at).d_reclen) {
      const auto& record = recordAt(at);
      if (record.d_type == DT_DIR && !isDotOrDots(record.d_name)) return record.d_name;
    }
    return nullptr;
  }

 private:
  const dirent64& recordAt(std::size_t at) const {
    return *reinterpret_cast<const dirent64*>(records + at);
  }
};

Folder::Folder(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

Folder::Folder(Folder&& other) noexcept
    : descriptor_(std::move(other.descriptor_)),
      listing_(std::move(other.listing_)),
      mount_(other.mount_.load(std::memory_order_relaxed)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
  descriptor_ = std::move(other.descriptor_);
  listing_ = std::move(other.listing_);
  mount_.store(other.mount_.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return *this;
}

Folder::~Folder() = default;

PosixResult<std::optional<FolderEntry>> Folder::next() {
  // Not make_unique: it would fill the buffer with zeros first.
  if (!listing_) listing_.reset(new Listing);
  for (;;) {
    if (listing_->isConsumed()) {
      const auto count = listing_->isKnownToHaveEnded()
                             ? 0
                             : ::getdents64(descriptor(), listing_->records, Listing::capacity);
      if (count < 0) return lastError();
      if (count == 0) {
        // The folder may stay open for long.
        listing_.reset();
        return std::optional<FolderEntry>();
      }
      listing_->position = 0;
      listing_->filled = static_cast<std::size_t>(count);
    }
    const auto& record = listing_->take();
    if (isDotOrDots(record.d_name)) continue;
    return std::optional(
        FolderEntry{record.d_name, static_cast<std::uint32_t>(DTTOIF(record.d_type))});
  }
}

const char* Folder::upcomingFolder() const {
  return listing_ ? listing_->upcomingFolder() : nullptr;
}

void Folder::rewind() {
  ::lseek(descriptor(), 0, SEEK_SET);
  listing_.reset();
}

int Folder::descriptor() const { return descriptor_.get(); }

}  // namespace qrt
