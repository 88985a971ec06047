#include "platform/ApplicationRegistry.h"

#include <CoreServices/CoreServices.h>

#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

class CoreFoundationBundle final : public SystemBundle {
 public:
  explicit CoreFoundationBundle(CFOwner<CFBundleRef> bundle) : bundle_(std::move(bundle)) {}

 private:
  const CFOwner<CFBundleRef> bundle_;
};

ApplicationURL applicationURL(CFURLRef url) {
  const CFOwner<CFStringRef> scheme(CFURLCopyScheme(url));
  return {textFrom(scheme.get()), pathFrom(url)};
}

/// What Launch Services and the metadata store know.
class MacosApplicationRegistry final : public ApplicationRegistry {
 public:
  std::vector<ApplicationURL> applicationURLs(const std::string& bundleIdentifier) override {
    const auto identifier = cfString(bundleIdentifier);
    if (!identifier) return {};
    const CFOwner<CFArrayRef> urls(
        LSCopyApplicationURLsForBundleIdentifier(identifier.get(), nullptr));
    if (!urls) return {};
    std::vector<ApplicationURL> found;
    const auto count = CFArrayGetCount(urls.get());
    for (CFIndex i = 0; i < count; ++i) {
      const auto* url =
          castObject<CFURLRef>(CFArrayGetValueAtIndex(urls.get(), i), CFURLGetTypeID());
      if (url) found.push_back(applicationURL(url));
    }
    return found;
  }

  std::optional<Date> dateLastUsed(const std::string& path) override {
    const auto text = cfPath(path);
    if (!text) return std::nullopt;
    const CFOwner<MDItemRef> item(MDItemCreate(nullptr, text.get()));
    if (!item) return std::nullopt;
    const CFOwner<CFTypeRef> attribute(MDItemCopyAttribute(item.get(), kMDItemLastUsedDate));
    const auto* date = castObject<CFDateRef>(attribute.get(), CFDateGetTypeID());
    if (!date) return std::nullopt;
    return dateFrom(date);
  }

  std::shared_ptr<const SystemBundle> systemBundle(const std::string& path) override {
    constexpr bool isFolder = true;
    const auto url = cfFileURL(path, isFolder);
    if (!url) return nullptr;
    CFOwner<CFBundleRef> bundle(CFBundleCreate(nullptr, url.get()));
    return bundle ? std::make_shared<CoreFoundationBundle>(std::move(bundle)) : nullptr;
  }
};

}  // namespace

std::unique_ptr<ApplicationRegistry> makeApplicationRegistry() {
  return std::make_unique<MacosApplicationRegistry>();
}

}  // namespace qrt
