#include "platform/macos/MacosNvram.h"

#include "platform/macos/CFValue.h"
#include "platform/macos/IOObject.h"
#include "platform/macos/RegistryPort.h"

namespace qrt {
namespace {

constexpr const char* optionsPath = kIODeviceTreePlane ":/options";

class OptionsEntry final : public NvramOptions {
 public:
  explicit OptionsEntry(IOObject entry) : entry_(std::move(entry)) {}

  std::optional<PropertyValue> value(const std::string& name) override {
    const auto key = cfString(name);
    if (!key) return std::nullopt;
    const CFOwner<CFTypeRef> property(
        IORegistryEntryCreateCFProperty(entry_.get(), key.get(), nullptr, 0));
    return valueFrom(property.get());
  }

  KernelReturn set(const std::string& name, const PropertyValue& value) override {
    const auto key = cfString(name);
    const auto property = cfValue(value);
    if (!key || !property) return KernelReturn::badArgument;
    return kernelReturn(IORegistryEntrySetCFProperty(entry_.get(), key.get(), property.get()));
  }

 private:
  const IOObject entry_;
};

}  // namespace

Result<std::unique_ptr<NvramOptions>, KernelReturn> MacosNvram::options() {
  const auto port = registryPort();
  if (!port) return port.error();
  IOObject entry(IORegistryEntryFromPath(*port, optionsPath));
  if (!entry) return std::unique_ptr<NvramOptions>();
  return std::unique_ptr<NvramOptions>(std::make_unique<OptionsEntry>(std::move(entry)));
}

}  // namespace qrt
