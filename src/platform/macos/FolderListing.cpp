#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/Folder.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// Owns the folder's descriptor from here on; its number stays what it was.
struct Folder::Listing {
  explicit Listing(int descriptor) : stream(::fdopendir(descriptor)) {}
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
  ~Listing() {
    if (stream) ::closedir(stream);
  }

  DIR* const stream;
};

namespace {

bool isDotOrDots(const char* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

}  // namespace

Folder::Folder(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

Folder::Folder(Folder&& other) noexcept
    : descriptor_(std::move(other.descriptor_)),
      listing_(std::move(other.listing_)),
      mount_(other.mount_.load(std::memory_order_relaxed)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
  // What is released here is closed by the stream.
  if (listing_) descriptor_.release();
  listing_ = std::move(other.listing_);
  descriptor_ = std::move(other.descriptor_);
  mount_.store(other.mount_.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return *this;
}

Folder::~Folder() {
  if (listing_) descriptor_.release();
}

PosixResult<std::optional<FolderEntry>> Folder::next() {
  if (!listing_) {
    auto listing = std::make_unique<Listing>(descriptor());
    if (!listing->stream) return lastError();
    listing_ = std::move(listing);
  }
  for (;;) {
    errno = 0;
    const auto* record = ::readdir(listing_->stream);
    if (!record && errno != 0) return lastError();
    if (!record) return std::optional<FolderEntry>();
    if (isDotOrDots(record->d_name)) continue;
    return std::optional(
        FolderEntry{record->d_name, static_cast<std::uint32_t>(DTTOIF(record->d_type))});
  }
}

// The stream hands out one entry at a time.
const char* Folder::upcomingFolder() const { return nullptr; }

void Folder::rewind() {
  if (listing_) ::rewinddir(listing_->stream);
}

int Folder::descriptor() const { return descriptor_.get(); }

}  // namespace qrt
