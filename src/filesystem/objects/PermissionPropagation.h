// Giving what is below a folder the rights of that folder.
#pragma once

#include <cstdint>
#include <string>

#include "base/Error.h"
#include "filesystem/objects/PermissionModel.h"
#include "platform/Log.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {

/// Copies chosen rights of a folder (`propagation_option`) to everything below it; the folder
/// itself stays as it is. What already is as wanted is not written. Links have their own owner and
/// permissions changed and the list of what they lead to if that is trusted
/// (`holdTrustedTarget`); permissions that links cannot have are skipped.
///
/// An object that runs with the rights of its owner or group ends a change of either with POSIX 22:
/// it would run with the rights of another user. Any failure ends the propagation; what was changed
/// by then stays changed. Two threads share the work, so siblings are changed in no particular
/// order.
///
/// Sends the progress after every 100 objects as a part of `expectedCount`, and 1.0 at the end,
/// also after an error. If it fails before changing anything, no progress is sent. `feedback` may
/// be null.
Outcome propagatePermissions(const Platform& platform, const std::string& folder,
                             std::uint64_t expectedCount, bool stayOnFileSystem,
                             std::uint8_t options, FeedbackConnection* feedback);

}  // namespace qrt
