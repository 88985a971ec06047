// Settings of applications.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// The user or host that a setting is for.
struct PreferenceSelector {
  enum class Kind { any, current, named };

  Kind kind = Kind::current;
  /// For `named`.
  std::string name = {};
};

/// Where a setting is kept.
struct PreferenceDomain {
  /// No value for the settings of every application.
  std::optional<std::string> application;
  PreferenceSelector user;
  PreferenceSelector host;
};

/// Thread-safe.
class Preferences {
 public:
  virtual ~Preferences() = default;

  /// Sets a key, or removes it when there is no value, and stores the change where other programs
  /// see it. Removing an absent key succeeds. Returns false when it fails; the settings are then
  /// unchanged.
  virtual bool setValue(const PreferenceDomain& domain, const std::string& key,
                        const std::optional<PropertyValue>& value) = 0;
};

}  // namespace qrt
