#include "platform/linux/LinuxPreferences.h"

#include <fcntl.h>
#include <limits.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "base/PathText.h"
#include "platform/PropertyLists.h"
#include "platform/linux/DefaultsLock.h"
#include "platform/linux/FileReplacement.h"
#include "platform/linux/FileSystemIdentity.h"
#include "platform/linux/OwnFolder.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

using Kind = PreferenceSelector::Kind;

struct Account {
  uid_t user;
  gid_t group;
  std::string home;
};

/// `lookUp` is one of the re-entrant calls on the password database without its last arguments.
template <class LookUp>
std::optional<Account> accountFrom(LookUp lookUp) {
  constexpr std::size_t maximumSize = 1 << 20;
  for (std::vector<char> space(1024); space.size() <= maximumSize; space.resize(2 * space.size())) {
    passwd entry;
    passwd* found = nullptr;
    const int error = lookUp(&entry, space.data(), space.size(), &found);
    if (error == ERANGE) continue;
    if (!found) return std::nullopt;
    return Account{found->pw_uid, found->pw_gid, found->pw_dir};
  }
  return std::nullopt;
}

std::optional<Account> accountFor(const PreferenceSelector& user) {
  if (user.kind == Kind::current) {
    return accountFrom([](auto... space) { return getpwuid_r(geteuid(), space...); });
  }
  if (!isPathComponent(user.name)) return std::nullopt;
  return accountFrom([&user](auto... space) { return getpwnam_r(user.name.c_str(), space...); });
}

std::optional<std::string> hostNameFor(const PreferenceSelector& host) {
  if (host.kind == Kind::named) return host.name;
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0) return std::nullopt;
  return name;
}

/// None when one of the parts cannot be part of a file's name.
std::optional<std::string> fileNameFor(const PreferenceDomain& domain) {
  const auto application = domain.application.value_or("NSGlobalDomain");
  if (!isPathComponent(application)) return std::nullopt;
  if (domain.host.kind == Kind::any) return application + ".plist";
  const auto host = hostNameFor(domain.host);
  if (!host || !isPathComponent(*host)) return std::nullopt;
  return application + "." + *host + ".plist";
}

/// The folder of the defaults; `open` opens each one on the way to it in the one before.
template <class Open>
PosixResult<FileDescriptor> defaultsFolder(const std::string& base, Open open) {
  FileDescriptor folder(::open(base.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return lastError();
  for (const auto* component : {"GNUstep", "Defaults"}) {
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

PosixResult<DefaultsFile> readDefaults(int folder, const std::string& name,
                                       PropertyLists& propertyLists) {
  constexpr int withoutSurprise = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const FileDescriptor file(openat(folder, name.c_str(), withoutSurprise));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0) return lastError();
  if (!S_ISREG(status.st_mode)) return PosixCode::invalidArgument;
  const auto bytes = readFile(file.get(), PropertyLists::maximumBytes);
  if (!bytes) return bytes.error();
  auto list = propertyLists.parse(*bytes);
  // Settings that cannot be read are not to be lost.
  if (!list || !list->dictionary()) return PosixCode::invalidArgument;
  constexpr mode_t permissions = 0777;
  return DefaultsFile{*list->dictionary(), status.st_uid, status.st_gid,
                      status.st_mode & permissions};
}

/// Giving a file to somebody takes root's rights; the file is not reached by a name.
PosixCode giveTo(FileReplacement& file, uid_t user, gid_t group) {
  const FileSystemIdentity root(0, 0);
  return root.isTaken() ? file.setOwner(user, group) : PosixCode::notPermitted;
}

PosixCode writeDefaults(int folder, const std::string& name, const DefaultsFile& file,
                        PropertyLists& propertyLists) {
  const auto text = propertyLists.xml(file.contents);
  if (!text) return PosixCode::invalidArgument;
  if (text->size() > PropertyLists::maximumBytes) return PosixCode::noSpace;
  auto fresh = FileReplacement::begin(folder, name);
  if (!fresh) return fresh.error();
  auto code = fresh->write({reinterpret_cast<const std::uint8_t*>(text->data()), text->size()});
  if (code == PosixCode::success) code = fresh->setMode(file.mode);
  if (code == PosixCode::success) code = giveTo(*fresh, file.user, file.group);
  return code == PosixCode::success ? fresh->commit() : code;
}

}  // namespace

std::optional<LinuxPreferences::Place> LinuxPreferences::placeFor(
    const PreferenceSelector& user) const {
  if (user.kind == Kind::any) return Place{root_ + "/etc", 0, 0, 0644};
  const auto account = accountFor(user);
  if (!account || account->home.empty()) return std::nullopt;
  return Place{root_ + "/" + account->home, account->user, account->group, 0600};
}

bool LinuxPreferences::setValue(const PreferenceDomain& domain, const std::string& key,
                                const std::optional<PropertyValue>& value) {
  const auto name = fileNameFor(domain);
  const auto place = placeFor(domain.user);
  if (!name || !place) return false;
  const FileSystemIdentity owner(place->user, place->group);
  if (!owner.isTaken()) return false;

  const auto folder = defaultsFolder(place->base, [&](int parent, const char* component) {
    return value ? makeOwnFolder(parent, component, place->user)
                 : openOwnFolder(parent, component, place->user);
  });
  // Without a folder there is no key to remove.
  if (!folder) return !value && folder.error() == PosixCode::noEntry;
  const DefaultsLock lock(folder->get(), place->user);
  return lock.isHeld() &&
         changeFile(folder->get(), *name, *place, {key, value}) == PosixCode::success;
}

PosixCode LinuxPreferences::changeFile(int folder, const std::string& name, const Place& place,
                                       const Change& change) {
  auto file = readDefaults(folder, name, propertyLists_);
  if (!file) {
    if (file.error() != PosixCode::noEntry) return file.error();
    file = DefaultsFile{{}, place.user, place.group, place.modeOfNewFile};
  }
  if (change.value) {
    file->contents.insert_or_assign(change.key, *change.value);
  } else if (file->contents.erase(change.key) == 0) {
    return PosixCode::success;
  }
  return writeDefaults(folder, name, *file, propertyLists_);
}

}  // namespace qrt
