// Taking hold of objects.
#pragma once

#include "base/Result.h"
#include "platform/HeldObject.h"

namespace qrt {

/// By a descriptor for reading. A link that is not followed is held itself. Taking hold blocks on
/// no FIFO; sockets and devices are `notSupported`, because a driver would notice.
PosixResult<HeldObject> holdByDescriptor(FileAt object, Links links);

}  // namespace qrt
