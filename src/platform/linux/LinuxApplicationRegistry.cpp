#include "platform/ApplicationRegistry.h"

#include "platform/linux/LinuxFacilities.h"

namespace qrt {
namespace {

/// Linux keeps no account of bundles.
class LinuxApplicationRegistry final : public ApplicationRegistry {
 public:
  std::vector<ApplicationURL> applicationURLs(const std::string&) override { return {}; }
  std::optional<Date> dateLastUsed(const std::string&) override { return std::nullopt; }
  std::shared_ptr<const SystemBundle> systemBundle(const std::string&) override { return nullptr; }
};

}  // namespace

std::unique_ptr<ApplicationRegistry> makeApplicationRegistry() {
  return std::make_unique<LinuxApplicationRegistry>();
}

}  // namespace qrt
