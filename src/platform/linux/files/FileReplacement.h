// A file that takes another's place in one step.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/PosixCode.h"

namespace qrt {

struct NewFile {
  std::span<const std::uint8_t> contents;
  mode_t permissions;
  /// What else the open file needs before it gets its name, if anything.
  std::function<PosixCode(int file)> prepare = nullptr;
};

/// Replaces the file `name` of an open folder, or makes it. Readers see the old contents or the
/// new, which are on the disk when this returns `success`. The contents are written under a
/// temporary name, which is removed when anything fails; a file that a killed process left there is
/// removed first.
PosixCode replaceFile(int folder, const std::string& name, const NewFile& file);

}  // namespace qrt
