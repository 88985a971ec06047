// Giving what is below a folder the rights of that folder.
#pragma once

#include <cstdint>
#include <string>

#include "base/Error.h"
#include "filesystem/ItemContext.h"
#include "platform/Log.h"
#include "protocol/FeedbackConnection.h"

namespace qrt {

/// What is propagated.
namespace propagation_option {
inline constexpr std::uint8_t accessControlList = 0x01;
inline constexpr std::uint8_t othersPermissions = 0x02;
inline constexpr std::uint8_t groupPermissions = 0x04;
inline constexpr std::uint8_t ownerPermissions = 0x08;
inline constexpr std::uint8_t group = 0x10;
inline constexpr std::uint8_t owner = 0x20;
/// Marks the entries of the list as inherited before it is propagated.
inline constexpr std::uint8_t markAsInherited = 0x40;
}  // namespace propagation_option

/// Copies chosen rights of a folder to everything below it; the folder itself stays as it is. What
/// already is as wanted is not written. Links have their own owner and permissions changed and the
/// list of what they lead to; permissions that links cannot have are passed over.
///
/// An object that runs with the rights of its owner or group ends a change of either with POSIX 22:
/// it would run with the rights of somebody else. Any failure ends the propagation; what was
/// changed by then stays changed. Two threads share the work, so that siblings come in no
/// particular order.
///
/// Tells the progress after every 100 objects as a part of `expectedCount`, and 1.0 when it is
/// over, be it by an error. Errors that come before anything is changed are told without.
/// `feedback` may be null.
Outcome propagatePermissions(const ItemContext& context, Log& log, const std::string& folder,
                             std::uint64_t expectedCount, bool stayOnFileSystem,
                             std::uint8_t options, FeedbackConnection* feedback);

}  // namespace qrt
