// Linux keeps no account of bundles.
#pragma once

#include "platform/ApplicationRegistry.h"

namespace qrt {

class LinuxApplicationRegistry final : public ApplicationRegistry {
 public:
  std::vector<ApplicationURL> applicationURLs(const std::string&) override { return {}; }
  std::optional<Date> dateLastUsed(const std::string&) override { return std::nullopt; }
  std::shared_ptr<const SystemBundle> systemBundle(const std::string&) override { return nullptr; }
};

}  // namespace qrt
