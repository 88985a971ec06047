// Preferences as user defaults of GNUstep, which other programs read.
#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/Preferences.h"

namespace qrt {

class PropertyLists;

/// A user's settings are in "GNUstep/Defaults/<application>.plist" in the home folder, where other
/// programs read them; the current user is the one that the process runs as. Those of any user are
/// below "/etc/GNUstep": other programs read "GlobalDefaults.plist" there, which is for every
/// application, but not "Defaults/<application>.plist" unless they look for it. Settings of one
/// host are in "ByHost/<application>.<host>.plist" beside the other files of the user. A name that
/// cannot be part of a file's name has no settings.
///
/// A user's own folder is changed with that user's rights, neither through links nor in folders of
/// another user. A file keeps its owner and its mode.
class LinuxPreferences : public Preferences {
 public:
  LinuxPreferences(const std::string& root, PropertyLists& propertyLists)
      : root_(root), propertyLists_(propertyLists) {}

  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override;

 private:
  /// The user whose folders these are, and the folder that they lie in.
  struct Place {
    std::string base;
    uid_t user;
    gid_t group;
    mode_t modeOfNewFile;
  };
  struct Change {
    const std::string& key;
    const std::optional<PropertyValue>& value;
  };

  std::optional<Place> placeFor(const PreferenceSelector& user) const;
  PosixCode changeFile(int folder, const std::string& name, const Place& place,
                       const Change& change);

  const std::string root_;
  PropertyLists& propertyLists_;
};

}  // namespace qrt
