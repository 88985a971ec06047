// Making holds on objects.
#pragma once

#include "base/Result.h"
#include "platform/HeldObject.h"

namespace qrt {

/// Holds an object by a descriptor for reading; a link that is not followed is held itself. Does
/// not block on a FIFO. Sockets and devices are `notSupported`, because opening them calls a
/// driver.
PosixResult<HeldObject> holdByDescriptor(FileAt object, Links links);

}  // namespace qrt
