// Executables of the home platform: finds the programs in a file and their signatures.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/signing/SignedFiles.h"

namespace qrt {

/// The two functions below read at most so much of the beginning of a file or program.
inline constexpr std::size_t machOHeadSize = 1 << 20;

/// The programs in a file: one for each processor type in a universal file, the whole file in a
/// thin one. Empty for any other file, and when programs overlap or reach beyond the end.
std::vector<FileRange> machOPrograms(Bytes head, std::uint64_t fileSize);

/// Where a program has its signature, counted from the program's beginning. None without a
/// signature, with more than one, and with one that does not end where the program ends.
std::optional<FileRange> machOSignature(Bytes head, std::uint64_t programSize);

}  // namespace qrt
