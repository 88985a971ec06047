// Preferences as user defaults of GNUstep, which other programs read.
#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/Preferences.h"

namespace qrt {

class PropertyLists;

/// "GNUstep/Defaults/<application>.plist" in a user's home folder, or in "/etc" for any user. A
/// host stands before the extension; any host is no host. The current user is the one that the
/// process runs as. A name that cannot be part of a file's name has no settings.
///
/// What happens in a user's own folder happens with that user's rights, and neither through links
/// nor in folders of somebody else. A file keeps its owner and its mode.
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
