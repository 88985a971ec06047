// How long an operation waits for leases on files.
#pragma once

#include <chrono>

namespace qrt {

/// A process can hold a lease on a file of its own user. When another process opens the file, the
/// system gives the holder some time to release the lease. An operation waits for that time once
/// for all its files: it passes the same object with each of them.
struct LeaseWait {
  std::chrono::milliseconds waited{0};
};

}  // namespace qrt
