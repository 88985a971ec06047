// How long an operation waits for leases on files.
#pragma once

#include <chrono>

namespace qrt {

/// A process may hold a lease on a file of its user's, and has a time of the system's to give it up
/// when another process opens the file. An operation waits for that time once, however many of its
/// files have leases: it passes the same object with each of them.
struct LeaseWait {
  std::chrono::milliseconds waited{0};
};

}  // namespace qrt
