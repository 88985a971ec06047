// Executable files of the home platform.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/signing/BoundedBytes.h"

namespace qrt {

struct FileRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;

  friend bool operator==(const FileRange&, const FileRange&) = default;
};

/// How much of the beginning of a file or of a program the functions below look at, at most.
inline constexpr std::size_t machOHeadSize = 1 << 20;

/// Where in a file its programs are: one a processor type in a universal file, the whole file in a
/// thin one. Empty for what is neither, and for programs that lie across each other or outside.
std::vector<FileRange> machOPrograms(Bytes head, std::uint64_t fileSize);

/// Where a program keeps its signature, in bytes from the program's beginning. None when it has no
/// signature, more than one, or one that is not the last thing in it.
std::optional<FileRange> machOSignature(Bytes head, std::uint64_t programSize);

}  // namespace qrt
