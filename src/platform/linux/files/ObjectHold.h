// Taking hold of objects, and opening those that are held.
#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/HeldObject.h"
#include "platform/LeaseWait.h"

namespace qrt {

/// By a descriptor that opens nothing: no driver notices, no FIFO blocks and no right to read is
/// needed.
PosixResult<HeldObject> holdObject(FileAt object, Links links);

/// Opens the very object that is held, which the caller has seen to be a regular file or a folder.
/// A file on which another process holds a lease is `tryAgain`; the process is asked to give it up.
PosixResult<FileDescriptor> openForReading(const HeldObject& object);

/// The same, but waits for leases as long as `leases` has time left.
PosixResult<FileDescriptor> openForReading(const HeldObject& file, LeaseWait& leases);

}  // namespace qrt
