// Files of bundles that nobody vouches for.
#pragma once

#include <cstdint>
#include <string>

#include "base/PropertyValue.h"
#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/Folder.h"
#include "platform/linux/signing/BoundedBytes.h"
#include "platform/linux/signing/Digest.h"
#include "platform/linux/signing/MachO.h"

namespace qrt {

struct SigningBudget;

/// Opens a folder by a path of names below another one. No link is followed. An empty path is the
/// folder itself.
PosixResult<Folder> openFolderBeneath(const Folder& folder, std::string_view path);

/// The same for a regular file. What is none is never opened and is `invalidArgument`.
PosixResult<FileDescriptor> openFileBeneath(const Folder& folder, std::string_view path);

/// The contents of such a file of at most `limit` bytes; a larger one is `noSpace`.
PosixResult<Data> readFileBeneath(const Folder& folder, std::string_view path, std::size_t limit);

/// Size of an open file; 0 when it cannot be told.
std::uint64_t sizeOfFile(int file);

/// Reads what is at a place of a file; false unless all of it is there.
bool readAt(int file, std::uint64_t offset, std::span<std::uint8_t> bytes);

/// The digest of a part of a file; empty when the file is shorter or the budget does not suffice.
Data digestOfRange(int file, FileRange range, DigestKind kind, SigningBudget& budget);

}  // namespace qrt
