#include "platform/Nvram.h"

#include "platform/macos/CFValue.h"
#include "platform/macos/IOObject.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

constexpr const char* optionsPath = kIODeviceTreePlane ":/options";

class OptionsEntry final : public NvramOptions {
 public:
  explicit OptionsEntry(IOObject entry) : entry_(std::move(entry)) {}

  PosixResult<std::optional<PropertyValue>> value(const std::string& name) override {
    const auto key = cfString(name);
    if (!key) return std::optional<PropertyValue>();
    const CFOwner<CFTypeRef> property(
        IORegistryEntryCreateCFProperty(entry_.get(), key.get(), nullptr, 0));
    auto value = valueFrom(property.get());
    if (property && !value) return PosixCode::invalidArgument;
    return value;
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

/// Firmware variables in the registry of drivers.
class MacosNvram final : public Nvram {
 public:
  Result<std::unique_ptr<NvramOptions>, KernelReturn> options() override {
    IOObject entry(IORegistryEntryFromPath(kIOMasterPortDefault, optionsPath));
    if (!entry) return std::unique_ptr<NvramOptions>();
    return std::unique_ptr<NvramOptions>(std::make_unique<OptionsEntry>(std::move(entry)));
  }
};

}  // namespace

std::unique_ptr<Nvram> makeNvram() { return std::make_unique<MacosNvram>(); }

}  // namespace qrt
