#include "platform/macos/MacosKernelSettings.h"

#include <sys/sysctl.h>

#include "platform/posix/NativeError.h"

namespace qrt {

PosixCode MacosKernelSettings::write(const std::string& name, const Number& value) {
  // What follows a zero byte would not count: another variable would be meant.
  if (name.find('\0') != std::string::npos) return PosixCode::noEntry;
  auto integer = value.asInt64();
  const int result = sysctlbyname(name.c_str(), nullptr, nullptr, &integer, sizeof integer);
  return codeFor(result);
}

}  // namespace qrt
