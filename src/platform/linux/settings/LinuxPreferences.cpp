#include "platform/Preferences.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "base/Path.h"
#include "base/Result.h"
#include "base/Text.h"
#include "platform/FileDescriptor.h"
#include "platform/PropertyLists.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/FileReplacement.h"
#include "platform/linux/files/FileSystemIdentity.h"
#include "platform/linux/files/OwnFolder.h"
#include "platform/linux/settings/DefaultsLock.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/PosixUserDirectory.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

using Kind = PreferenceSelector::Kind;

std::optional<Account> accountFor(const PreferenceSelector& user) {
  if (user.kind == Kind::named && !path::isComponent(user.name)) return std::nullopt;
  auto account = user.kind == Kind::named ? accountNamed(user.name) : accountOf(geteuid());
  return account ? std::move(*account) : std::nullopt;
}

std::optional<std::string> hostNameFor(const PreferenceSelector& host) {
  if (host.kind == Kind::named) return host.name;
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0) return std::nullopt;
  return name;
}

/// Where the settings of a domain are, below the folder that holds "GNUstep".
struct DefaultsPath {
  std::vector<const char*> folders;
  std::string name;
};

/// Empty when a part of the domain cannot be part of a file's name.
std::optional<DefaultsPath> pathFor(const PreferenceDomain& domain) {
  const bool isForEverything = !domain.application && domain.user.kind == Kind::any;
  if (isForEverything && domain.host.kind == Kind::any) {
    return DefaultsPath{{"GNUstep"}, "GlobalDefaults.plist"};
  }
  const auto application = domain.application.value_or("NSGlobalDomain");
  if (!path::isComponent(application)) return std::nullopt;
  if (domain.host.kind == Kind::any) {
    return DefaultsPath{{"GNUstep", "Defaults"}, application + ".plist"};
  }
  const auto host = hostNameFor(domain.host);
  if (!host || !path::isComponent(*host)) return std::nullopt;
  return DefaultsPath{{"GNUstep", "Defaults", "ByHost"}, application + "." + *host + ".plist"};
}

/// Opens the last of the nested `folders` below `base`; `open` opens each in its parent.
template <class Open>
PosixResult<FileDescriptor> openFolders(const std::string& base,
                                        const std::vector<const char*>& folders, Open open) {
  FileDescriptor folder(::open(base.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  for (const auto* component : folders) {
    auto next = open(folder.get(), component);
    if (!next) return next;
    folder = std::move(*next);
  }
  return folder;
}

/// A file as it is before it is replaced.
struct DefaultsFile {
  Dictionary contents;
  uid_t user;
  gid_t group;
  mode_t mode;
};

PosixResult<DefaultsFile> readDefaults(int folder, const std::string& name) {
  constexpr int withoutSurprise = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const FileDescriptor file(openat(folder, name.c_str(), withoutSurprise));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0) return lastError();
  if (!S_ISREG(status.st_mode)) return PosixCode::invalidArgument;
  const auto bytes = readFile(file.get(), maximumPropertyListBytes);
  if (!bytes) return bytes.error();
  auto list = readPropertyList(*bytes);
  // Settings that cannot be read must not be lost.
  if (!list || !list->dictionary()) return PosixCode::invalidArgument;
  constexpr mode_t permissions = 0777;
  return DefaultsFile{*list->dictionary(), status.st_uid, status.st_gid,
                      status.st_mode & permissions};
}

PosixCode writeDefaults(int folder, const std::string& name, const DefaultsFile& file) {
  const auto text = writeXmlPropertyList(file.contents);
  if (!text) return PosixCode::invalidArgument;
  if (text->size() > maximumPropertyListBytes) return PosixCode::noSpace;
  // Only root can give a file to another user. This one is open, so no name can lead elsewhere.
  const auto giveToOwner = [&file](int descriptor) {
    const FileSystemIdentity root(0, 0);
    if (!root.isTaken()) return PosixCode::notPermitted;
    return codeFor(fchown(descriptor, file.user, file.group));
  };
  return replaceFile(folder, name, {asBytes(*text), file.mode, giveToOwner});
}

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
  explicit LinuxPreferences(const std::string& root) : root_(root) {}

  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override;

 private:
  /// The owner of the folders, and the folder that holds them.
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
};

std::optional<LinuxPreferences::Place> LinuxPreferences::placeFor(
    const PreferenceSelector& user) const {
  if (user.kind == Kind::any) return Place{root_ + "/etc", 0, 0, 0644};
  const auto account = accountFor(user);
  if (!account || account->home.empty()) return std::nullopt;
  return Place{root_ + "/" + account->home, account->user, account->group, 0600};
}

bool LinuxPreferences::setValue(const PreferenceDomain& domain, const std::string& key,
                                const std::optional<PropertyValue>& value) {
  const auto path = pathFor(domain);
  const auto place = placeFor(domain.user);
  if (!path || !place) return false;
  const FileSystemIdentity owner(place->user, place->group);
  if (!owner.isTaken()) return false;

  const auto folder =
      openFolders(place->base, path->folders, [&](int parent, const char* component) {
        return value ? makeOwnFolder(parent, component, place->user)
                     : openOwnFolder(parent, component, place->user);
      });
  // Without a folder there is no key to remove.
  if (!folder) return !value && folder.error() == PosixCode::noEntry;
  const DefaultsLock lock(folder->get(), place->user);
  return lock.isHeld() &&
         changeFile(folder->get(), path->name, *place, {key, value}) == PosixCode::success;
}

PosixCode LinuxPreferences::changeFile(int folder, const std::string& name, const Place& place,
                                       const Change& change) {
  auto file = readDefaults(folder, name);
  if (!file) {
    if (file.error() != PosixCode::noEntry) return file.error();
    file = DefaultsFile{{}, place.user, place.group, place.modeOfNewFile};
  }
  if (change.value) {
    file->contents.insert_or_assign(change.key, *change.value);
  } else if (file->contents.erase(change.key) == 0) {
    return PosixCode::success;
  }
  // The user must not get hold of a file that another user will own.
  const bool isOwn = file->user == place.user;
  const FileSystemIdentity writer(isOwn ? place.user : 0, isOwn ? place.group : 0);
  if (!writer.isTaken()) return PosixCode::notPermitted;
  return writeDefaults(folder, name, *file);
}

}  // namespace

std::unique_ptr<Preferences> makePreferences(const std::string& root) {
  return std::make_unique<LinuxPreferences>(root);
}

}  // namespace qrt
