// The configuration that the system keeps itself.
#pragma once

#include "platform/SystemConfiguration.h"

namespace qrt {

class MacosSystemConfiguration final : public SystemConfiguration {
 public:
  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override;
};

}  // namespace qrt
