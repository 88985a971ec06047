// The permission bits of an object that is held.
#pragma once

#include <cstdint>

#include "base/PosixCode.h"

namespace qrt::object_permissions {

/// Takes the best of the ways below. Links have no permissions: `notSupported`.
PosixCode write(int object, std::uint32_t permissions);

/// From kernel 6.6; `notImplemented` before.
PosixCode writeByDescriptor(int object, std::uint32_t permissions);

/// On every kernel.
PosixCode writeByPath(int object, std::uint32_t permissions);

}  // namespace qrt::object_permissions
