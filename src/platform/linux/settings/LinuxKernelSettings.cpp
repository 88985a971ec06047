#include "platform/KernelSettings.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "base/Result.h"
#include "base/Text.h"
#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// Empty when a component of the name cannot be the name of a file.
std::vector<std::string> componentsOf(const std::string& name) {
  std::vector<std::string> components(1);
  for (const char c : name) {
    if (c == '.') {
      components.emplace_back();
    } else {
      components.back().push_back(c == '/' ? '.' : c);
    }
  }
  const bool isName = std::none_of(components.begin(), components.end(), [](const auto& component) {
    return component.empty() || component == "." || component == ".." || holdsZeroByte(component);
  });
  return isName ? components : std::vector<std::string>();
}

/// Opened one by one without following links, so that nothing outside the folder can be reached.
PosixResult<FileDescriptor> openVariable(const std::string& folder,
                                         const std::vector<std::string>& components) {
  constexpr int asBase = O_PATH | O_DIRECTORY | O_CLOEXEC;
  FileDescriptor opened(open(folder.c_str(), asBase));
  if (!opened) return lastError();
  for (const auto& component : components) {
    const bool isLast = &component == &components.back();
    FileDescriptor next(openat(opened.get(), component.c_str(),
                               O_NOFOLLOW | (isLast ? O_WRONLY | O_CLOEXEC : asBase)));
    if (!next) return lastError();
    opened = std::move(next);
  }
  return opened;
}

/// Some variables are unsigned: a number above the signed range must not turn negative.
std::string decimal(const Number& value) {
  const bool isUnsigned = std::holds_alternative<std::uint64_t>(value.storage());
  return isUnsigned ? std::to_string(value.asUInt64()) : std::to_string(value.asInt64());
}

/// Writes below "/proc/sys" and nowhere else. In a name "." separates components and "/" is a dot
/// inside a component, as in "net.ipv4.conf.eth0/1.forwarding".
class LinuxKernelSettings : public KernelSettings {
 public:
  explicit LinuxKernelSettings(const std::string& root) : folder_(root + "/proc/sys") {}

  PosixCode write(const std::string& name, const Number& value) override {
    const auto components = componentsOf(name);
    if (components.empty()) return PosixCode::noEntry;
    const auto variable = openVariable(folder_, components);
    if (!variable) return variable.error();

    const auto text = decimal(value);
    const auto written = ::write(variable->get(), text.data(), text.size());
    if (written < 0) return lastError();
    // A rest must not be written: each write sets the whole variable.
    return written == static_cast<ssize_t>(text.size()) ? PosixCode::success
                                                        : PosixCode::inputOutput;
  }

 private:
  const std::string folder_;
};

}  // namespace

std::unique_ptr<KernelSettings> makeKernelSettings(const std::string& root) {
  return std::make_unique<LinuxKernelSettings>(root);
}

}  // namespace qrt
