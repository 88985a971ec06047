// The authorization rights in the system's database.
#pragma once

#include <cstdint>

#include "base/Error.h"

namespace qrt {

class QRTPrivilegedOperationSet;
struct Platform;

enum class RightsChange { install, remove };

/// Installs or removes the rights of all operations, as this process, which has to be root's.
/// Returns how many of them the database holds afterwards.
Result<std::int64_t> changeRights(RightsChange change, const QRTPrivilegedOperationSet& operations,
                                  const Platform& platform);

}  // namespace qrt
