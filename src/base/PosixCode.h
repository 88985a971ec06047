// Numbers of the POSIX error domain.
#pragma once

#include <cstdint>

namespace qrt {

/// A code of "NSPOSIXErrorDomain". Every port uses the numbers of macOS and translates its native
/// `errno` once, where it makes the system call.
enum class PosixCode : std::int32_t {
  success = 0,
  notPermitted = 1,
  noEntry = 2,
  noProcess = 3,
  interrupted = 4,
  inputOutput = 5,
  badDescriptor = 9,
  outOfMemory = 12,
  permissionDenied = 13,
  busy = 16,
  exists = 17,
  crossDevice = 18,
  notDirectory = 20,
  isDirectory = 21,
  invalidArgument = 22,
  tooManyFilesInSystem = 23,
  tooManyFiles = 24,
  noSpace = 28,
  readOnlyFileSystem = 30,
  tooManyNames = 31,
  brokenPipe = 32,
  tryAgain = 35,
  notSupported = 45,
  timedOut = 60,
  tooManyLinks = 62,
  nameTooLong = 63,
  notEmpty = 66,
  quotaExceeded = 69,
  notImplemented = 78,
  canceled = 89,
  noAttribute = 93,
};

constexpr std::int32_t number(PosixCode code) { return static_cast<std::int32_t>(code); }

}  // namespace qrt
