#include "platform/KernelSettings.h"

#include <sys/sysctl.h>

#include "base/Text.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// Sets kernel variables with `sysctlbyname`.
class MacosKernelSettings : public KernelSettings {
 public:
  PosixCode write(const std::string& name, const Number& value) override {
    // The system would read the name up to the zero byte, and change another variable.
    if (holdsZeroByte(name)) return PosixCode::noEntry;
    auto integer = value.asInt64();
    const int result = sysctlbyname(name.c_str(), nullptr, nullptr, &integer, sizeof integer);
    return codeFor(result);
  }
};

}  // namespace

std::unique_ptr<KernelSettings> makeKernelSettings() {
  return std::make_unique<MacosKernelSettings>();
}

}  // namespace qrt
