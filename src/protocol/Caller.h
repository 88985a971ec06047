// Who makes a call.
#pragma once

#include <cstdint>
#include <string>

namespace qrt {

/// The process at the other end of a connection, as the kernel identifies it; what the process says
/// of itself does not count. A port fills it in once for each connection. Every function that
/// decides, counts or logs by caller takes it as a parameter.
struct Caller {
  static constexpr std::uint32_t unknownUser = 0xFFFFFFFF;

  std::uint32_t userID = unknownUser;
  /// 0 if the kernel cannot identify the process, for example one of another namespace.
  std::int32_t processID = 0;
  /// In clock ticks since the system's start. Distinguishes the process from a later one with the
  /// same number. 0 on ports whose authorization does not need it.
  std::uint64_t startTime = 0;
  /// The path of its program when it connected, for the log; empty if unknown.
  std::string executable = {};
  /// The connection's descriptor, not owned, which reports a hang-up when the caller leaves. -1 on
  /// ports that do not use it.
  int connection = -1;
};

}  // namespace qrt
