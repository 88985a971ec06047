// Who makes a call.
#pragma once

#include <cstdint>
#include <string>

namespace qrt {

/// The process at the other end of a connection, as the kernel names it and never as the process
/// names itself. A port fills it in once for each connection; it is passed on to everything that
/// decides, counts or logs by caller.
struct Caller {
  static constexpr std::uint32_t unknownUser = 0xFFFFFFFF;

  std::uint32_t userID = unknownUser;
  /// 0 when the kernel cannot name the process, for example one of a foreign namespace.
  std::int32_t processID = 0;
  /// Clock ticks from the system's start to the process's: distinguishes it from a later one with
  /// the same number. 0 on ports whose authorization does not need it.
  std::uint64_t startTime = 0;
  /// The path of its program when it connected; for the log. Empty when it is not known.
  std::string executable = {};
  /// The connection's descriptor, not owned; it reports a hang-up when the caller leaves. -1 on
  /// ports that need none.
  int connection = -1;
};

}  // namespace qrt
