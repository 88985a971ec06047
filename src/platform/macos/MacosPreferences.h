// Preferences as the system's applications keep them.
#pragma once

#include "platform/Preferences.h"

namespace qrt {

class MacosPreferences final : public Preferences {
 public:
  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override;
};

}  // namespace qrt
