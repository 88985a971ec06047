// Settings of applications.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// One user or host among those that preferences can be kept for.
struct PreferenceSelector {
  enum class Kind { any, current, named };

  Kind kind = Kind::current;
  /// For `named`.
  std::string name = {};
};

/// Where a setting is kept.
struct PreferenceDomain {
  /// None for the settings of every application.
  std::optional<std::string> application;
  PreferenceSelector user;
  PreferenceSelector host;
};

/// Thread-safe.
class Preferences {
 public:
  virtual ~Preferences() = default;

  /// Sets a key, or removes it when there is no value, and brings the change to where other
  /// programs see it. A key to be removed need not be there. False when that was not possible; the
  /// settings are then as they were.
  virtual bool setValue(const PreferenceDomain& domain, const std::string& key,
                        const std::optional<PropertyValue>& value) = 0;
};

}  // namespace qrt
