// The authorization rights in the system's database.
#pragma once

#include <cstdint>

#include "base/Error.h"

namespace qrt {

class QRTPrivilegedOperationSet;
struct Platform;

enum class RightsChange { install, remove };

/// Installs or removes the rights of all operations. Returns how many of them the database holds
/// afterwards; a package's own rights stay. POSIX error 17 when a package has installed them, POSIX
/// error 1 when the user is not root, POSIX error 5 when a right could not be changed.
Result<std::int64_t> changeRights(RightsChange change, const QRTPrivilegedOperationSet& operations,
                                  const Platform& platform);

}  // namespace qrt
