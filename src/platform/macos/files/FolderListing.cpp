#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/FileStatus.h"
#include "platform/Folder.h"
#include "platform/posix/FolderNames.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// Owns the folder's descriptor until `suspend()`; its number stays what it was. The stream shows
/// one entry at a time, so some entries are read ahead for `upcomingFolder`.
class Folder::Listing {
 public:
  struct Entry {
    std::string name;
    std::uint32_t type;
    std::uint64_t inode;
  };

  explicit Listing(int descriptor) : stream_(::fdopendir(descriptor)) {}
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
  ~Listing() {
    if (stream_) ::closedir(stream_);
  }

  bool isOpen() const { return stream_ != nullptr; }

  /// Reads the rest into memory and closes the descriptor: a new stream cannot continue at the
  /// position of this one.
  void suspend() {
    entries_.erase(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(position_));
    position_ = 0;
    while (!isComplete_) readOn();
    ::closedir(stream_);
    stream_ = nullptr;
  }

  /// Null at the end.
  PosixResult<const Entry*> next() {
    if (position_ == entries_.size() && !isComplete_) {
      entries_.clear();
      position_ = 0;
      readOn();
    }
    if (position_ < entries_.size()) return &entries_[position_++];
    if (failure_ != PosixCode::success) return failure_;
    return nullptr;
  }

  const char* upcomingFolder(const char* previous) const {
    bool isAfter = previous == nullptr;
    for (auto at = position_; at < entries_.size(); ++at) {
      if (entries_[at].type != file_type::folder) continue;
      if (isAfter) return entries_[at].name.c_str();
      isAfter = entries_[at].name == previous;
    }
    return nullptr;
  }

  void rewind() {
    ::rewinddir(stream_);
    entries_.clear();
    position_ = 0;
    failure_ = PosixCode::success;
    isComplete_ = false;
  }

 private:
  void readOn() {
    constexpr int enough = 128;
    for (int count = 0; count < enough; ++count) {
      errno = 0;
      const auto* record = ::readdir(stream_);
      if (!record) {
        if (errno != 0) failure_ = lastError();
        isComplete_ = true;
        return;
      }
      if (isDotOrDots(record->d_name)) continue;
      entries_.push_back(
          {record->d_name, static_cast<std::uint32_t>(DTTOIF(record->d_type)), record->d_ino});
    }
  }

  /// Null after `suspend()`.
  DIR* stream_;
  std::vector<Entry> entries_;
  std::size_t position_ = 0;
  /// All entries have been read, or there was a failure.
  bool isComplete_ = false;
  PosixCode failure_ = PosixCode::success;
};

Folder::Folder(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

Folder::Folder(Folder&& other) noexcept
    : descriptor_(std::move(other.descriptor_)),
      listing_(std::move(other.listing_)),
      start_(other.start_),
      mount_(other.mount_.load(std::memory_order_relaxed)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
  // What is released here is closed by the stream.
  if (listing_ && listing_->isOpen()) descriptor_.release();
  listing_ = std::move(other.listing_);
  descriptor_ = std::move(other.descriptor_);
  start_ = other.start_;
  mount_.store(other.mount_.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return *this;
}

Folder::~Folder() {
  if (listing_ && listing_->isOpen()) descriptor_.release();
}

PosixResult<std::optional<FolderEntry>> Folder::next() {
  if (!listing_) {
    auto listing = std::make_unique<Listing>(descriptor());
    if (!listing->isOpen()) return lastError();
    listing_ = std::move(listing);
  }
  const auto entry = listing_->next();
  if (!entry) return entry.error();
  if (*entry == nullptr) return std::optional<FolderEntry>();
  return std::optional(FolderEntry{(*entry)->name.c_str(), (*entry)->type, (*entry)->inode});
}

const char* Folder::upcomingFolder(const char* previous) const {
  return listing_ ? listing_->upcomingFolder(previous) : nullptr;
}

void Folder::rewind() {
  if (!listing_) return;
  if (listing_->isOpen()) return listing_->rewind();
  listing_.reset();
}

PosixResult<FolderIdentity> Folder::identity() const {
  struct stat status;
  if (::fstat(descriptor(), &status) != 0) return lastError();
  constexpr std::int64_t nanoseconds = 1'000'000'000;
  const auto& birth = status.st_birthtimespec;
  return FolderIdentity{static_cast<std::uint32_t>(status.st_dev), status.st_ino,
                        birth.tv_sec * nanoseconds + birth.tv_nsec};
}

void Folder::suspend() {
  if (listing_ && listing_->isOpen()) {
    listing_->suspend();
    descriptor_.release();
  }
  descriptor_ = FileDescriptor();
}

PosixCode Folder::resume(Folder reopened) {
  descriptor_ = std::move(reopened.descriptor_);
  return PosixCode::success;
}

int Folder::descriptor() const { return descriptor_.get(); }

}  // namespace qrt
