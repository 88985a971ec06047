// What a user wants to know about a storage device before it is erased.
#pragma once

#include <cstdint>
#include <string>

namespace qrt {

/// What this process cannot find out is empty or 0.
struct DiskDescription {
  std::string model;
  std::uint64_t bytes = 0;
  /// Where the device, a partition of it or a device that is built on them is mounted.
  std::string mountPoint;
};

/// Of the device "<root>/dev/<name>"; links are followed.
DiskDescription describeDisk(const std::string& root, const std::string& name);

}  // namespace qrt
