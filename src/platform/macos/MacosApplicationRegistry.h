// What Launch Services and the metadata store know.
#pragma once

#include "platform/ApplicationRegistry.h"

namespace qrt {

class MacosApplicationRegistry final : public ApplicationRegistry {
 public:
  std::vector<ApplicationURL> applicationURLs(const std::string& bundleIdentifier) override;
  std::optional<Date> dateLastUsed(const std::string& path) override;
  std::shared_ptr<const SystemBundle> systemBundle(const std::string& path) override;
};

}  // namespace qrt
