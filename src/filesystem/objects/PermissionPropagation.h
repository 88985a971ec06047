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
/// (`holdTrustedTarget`); permissions that links cannot have are passed over.
///
/// An object that runs with the rights of its owner or group ends a change of either with POSIX 22:
/// it would run with the rights of somebody else. Any failure ends the propagation; what was
/// changed by then stays changed. Two threads share the work, so that siblings come in no
/// particular order.
///
/// Tells the progress after every 100 objects as a part of `expectedCount`, and 1.0 when it is
/// over, be it by an error. Errors that come before anything is changed are told without.
/// `feedback` may be null.
Outcome propagatePermissions(const Platform& platform, const std::string& folder,
                             std::uint64_t expectedCount, bool stayOnFileSystem,
                             std::uint8_t options, FeedbackConnection* feedback);

}  // namespace qrt
