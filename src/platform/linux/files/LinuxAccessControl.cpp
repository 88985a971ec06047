#include "platform/AccessControl.h"

#include <acl/libacl.h>
#include <sys/acl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/AclEntries.h"
#include "platform/linux/files/DescriptorPath.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// All entries of the list, those included that are permission bits, where it came with some.
struct AccessControlList::Content {
  AclEntries entries;
};

namespace {

using OptionalList = std::optional<AccessControlList>;

constexpr unsigned groupShift = 3;
constexpr std::uint32_t groupBits = 0070;

/// More entries than any file system keeps, and few enough for libacl, which puts an array of them
/// on the stack.
constexpr std::size_t largestExternalForm = 512 * 1024;

/// A file system that cannot keep lists is not a failure.
PosixCode ifSupported(PosixCode code) {
  return code == PosixCode::notSupported ? PosixCode::success : code;
}

AccessControlList made(AclEntries entries) {
  using Content = AccessControlList::Content;
  return AccessControlList(std::make_shared<const Content>(Content{std::move(entries)}));
}

OptionalList listOf(AclEntries entries) {
  return isExtended(entries) ? OptionalList(made(std::move(entries))) : std::nullopt;
}

/// Whether the form has the length that it states; libacl relies on that length.
bool isComplete(const Data& externalForm) {
  std::size_t length = 0;
  if (externalForm.size() < sizeof length || externalForm.size() > largestExternalForm)
    return false;
  std::memcpy(&length, externalForm.data(), sizeof length);
  return length == externalForm.size();
}

/// The entries of a list from outside. libacl accepts some lists that no file system could keep.
PosixResult<AclEntries> checkedEntries(const AclOwner& foreign) {
  if (!foreign) return PosixCode::invalidArgument;
  auto entries = entriesOf(foreign.get());
  if (!entries) return PosixCode::invalidArgument;
  const auto same = aclOf(*entries);
  const bool isSame = same && ::acl_cmp(foreign.get(), same->get()) == 0;
  if (!isSame) return PosixCode::invalidArgument;
  return entries;
}

PosixResult<OptionalList> checkedList(const AclOwner& foreign) {
  auto entries = checkedEntries(foreign);
  if (!entries) return entries.error();
  return listOf(std::move(*entries));
}

/// Of an object without a list: its permission bits. An object that is merely held has to be found
/// once more by a path, which costs more than the call itself.
PosixResult<AclEntries> read(const HeldObject& object) {
  AclOwner list(::acl_get_fd(object.descriptor()));
  if (!list && errno == EBADF) {
    list.reset(::acl_get_file(descriptorPath(object.descriptor()).c_str(), ACL_TYPE_ACCESS));
  }
  return list ? entriesOf(list.get()) : lastError();
}

PosixCode write(const HeldObject& object, const AclEntries& entries) {
  const auto list = aclOf(entries);
  if (!list) return list.error();
  int result = ::acl_set_fd(object.descriptor(), list->get());
  if (result != 0 && errno == EBADF) {
    result =
        ::acl_set_file(descriptorPath(object.descriptor()).c_str(), ACL_TYPE_ACCESS, list->get());
  }
  return codeFor(result);
}

PosixResult<AclEntries> entriesOfMode(std::uint32_t mode) {
  const AclOwner list(::acl_from_mode(mode));
  return list ? entriesOf(list.get()) : lastError();
}

void sort(AclEntries& entries) {
  std::sort(entries.begin(), entries.end(), [](const AclEntry& a, const AclEntry& b) {
    return std::tie(a.tag, a.qualifier) < std::tie(b.tag, b.qualifier);
  });
}

/// The base entries of `base` and the other entries of `extension`. Named entries need a mask; if
/// there is none, one is added that permits what all of them permit.
AclEntries combined(const AclEntries& base, const AclEntries& extension) {
  AclEntries entries;
  entries.reserve(base.size() + extension.size() + 1);
  acl_perm_t granted = 0;
  for (const auto& entry : base) {
    if (!entry.isBase()) continue;
    entries.push_back(entry);
    if (entry.tag == ACL_GROUP_OBJ) granted |= entry.permissions;
  }
  for (const auto& entry : extension) {
    if (entry.isBase()) continue;
    entries.push_back(entry);
    granted |= entry.permissions;
  }
  if (isExtended(entries) && !find(entries, ACL_MASK)) entries.push_back({ACL_MASK, 0, granted});
  sort(entries);
  return entries;
}

/// A list with the entries that are permission bits; one that came without gets them from the bits.
PosixResult<AclEntries> wholeList(const AccessControlList& list, std::uint32_t permissions) {
  const auto& entries = list.content().entries;
  if (find(entries, ACL_GROUP_OBJ)) return combined(entries, entries);
  const auto base = entriesOfMode(permissions);
  return base ? combined(*base, entries) : base;
}

PosixCode setWholeList(const HeldObject& object, const AccessRights& rights) {
  const auto wanted = wholeList(*rights.list, rights.permissions);
  if (!wanted) return wanted.error();
  const auto own = read(object);
  if (!own) return own.error();
  return *wanted == *own ? PosixCode::success : write(object, *wanted);
}

/// The bits that leave the owning group with no more than a list gave it.
std::uint32_t permissionsWithoutList(const AccessRights& rights) {
  if (!rights.list) return rights.permissions;
  const auto* group = find(rights.list->content().entries, ACL_GROUP_OBJ);
  const std::uint32_t granted = group ? group->permissions << groupShift : 0;
  return rights.permissions & (~groupBits | granted);
}

PosixResult<OptionalList> inheritanceOf(const HeldObject& folder) {
  const AclOwner list(
      ::acl_get_file(descriptorPath(folder.descriptor()).c_str(), ACL_TYPE_DEFAULT));
  if (!list && errno == EOPNOTSUPP) return OptionalList();
  auto entries = list ? entriesOf(list.get()) : lastError();
  if (!entries) return entries.error();
  return entries->empty() ? OptionalList() : made(std::move(*entries));
}

PosixCode setInheritance(const HeldObject& folder, const OptionalList& wanted) {
  const auto own = inheritanceOf(folder);
  if (!own) return own.error();
  const auto path = descriptorPath(folder.descriptor());
  if (!wanted) return *own ? codeFor(::acl_delete_def_file(path.c_str())) : PosixCode::success;
  const auto& entries = wanted->content().entries;
  if (*own && (*own)->content().entries == entries) return PosixCode::success;
  const auto list = aclOf(entries);
  if (!list) return list.error();
  return codeFor(::acl_set_file(path.c_str(), ACL_TYPE_DEFAULT, list->get()));
}

PosixCode setPermissions(const HeldObject& object, std::uint32_t permissions) {
  const auto status = object.status();
  if (!status) return status.error();
  if (status->permissions() == permissions) return PosixCode::success;
  return object.setPermissions(permissions);
}

/// The lists of POSIX: entries for named users and groups beside those that are the permission
/// bits. No entry is marked as inherited here.
class LinuxAccessControl : public AccessControl {
 public:
  PosixResult<std::optional<AccessControlList>> internalized(const Data& externalForm) override;
  PosixResult<Data> externalized(const std::optional<AccessControlList>& list) override;
  PosixResult<std::optional<AccessControlList>> fromText(const std::string& text) override;
  PosixResult<AccessControlList> markedAsInherited(const AccessControlList& list) override;
  PosixResult<std::optional<AccessControlList>> list(const HeldObject& object) override;
  PosixCode setList(const HeldObject& object,
                    const std::optional<AccessControlList>& list) override;
  PosixResult<AccessRights> rights(const HeldObject& object, const FileStatus& current) override;
  PosixCode setRights(const HeldObject& object, const AccessRights& rights) override;
};

PosixResult<OptionalList> LinuxAccessControl::internalized(const Data& externalForm) {
  if (!isComplete(externalForm)) return PosixCode::invalidArgument;
  return checkedList(AclOwner(::acl_copy_int(externalForm.data())));
}

PosixResult<Data> LinuxAccessControl::externalized(const OptionalList& list) {
  const auto entries = list ? PosixResult<AclEntries>(list->content().entries) : entriesOfMode(0);
  if (!entries) return entries.error();
  const auto acl = aclOf(*entries);
  if (!acl) return acl.error();
  const auto size = ::acl_size(acl->get());
  if (size < 0) return lastError();
  Data externalForm(static_cast<std::size_t>(size));
  if (::acl_copy_ext(externalForm.data(), acl->get(), size) < 0) return lastError();
  return externalForm;
}

PosixResult<OptionalList> LinuxAccessControl::fromText(const std::string& text) {
  return checkedList(AclOwner(::acl_from_text(text.c_str())));
}

PosixResult<AccessControlList> LinuxAccessControl::markedAsInherited(
    const AccessControlList& list) {
  return list;
}

PosixResult<OptionalList> LinuxAccessControl::list(const HeldObject& object) {
  auto entries = read(object);
  if (entries) return listOf(std::move(*entries));
  if (entries.error() == PosixCode::notSupported) return OptionalList();
  return entries.error();
}

PosixCode LinuxAccessControl::setList(const HeldObject& object, const OptionalList& list) {
  const auto own = read(object);
  if (!own) {
    const bool hasNoneAsWanted = !list && own.error() == PosixCode::notSupported;
    return hasNoneAsWanted ? PosixCode::success : own.error();
  }
  const auto wanted = combined(*own, list ? list->content().entries : AclEntries());
  return wanted == *own ? PosixCode::success : write(object, wanted);
}

PosixResult<AccessRights> LinuxAccessControl::rights(const HeldObject& object,
                                                     const FileStatus& current) {
  const auto own = list(object);
  if (!own) return own.error();
  AccessRights rights{current.permissions(), *own, std::nullopt};
  if (!current.isFolder()) return rights;

  auto inheritance = inheritanceOf(object);
  if (!inheritance) return inheritance.error();
  rights.inheritance = std::move(*inheritance);
  return rights;
}

PosixCode LinuxAccessControl::setRights(const HeldObject& object, const AccessRights& rights) {
  const auto status = object.status();
  if (!status) return status.error();
  // First of all, because bits alone would give the group what the mask only allows.
  const auto listCode = rights.list ? setWholeList(object, rights) : setList(object, std::nullopt);
  const bool hasList = listCode == PosixCode::success;
  const auto bitsCode =
      setPermissions(object, hasList ? rights.permissions : permissionsWithoutList(rights));
  const auto inheritanceCode =
      status->isFolder() ? setInheritance(object, rights.inheritance) : PosixCode::success;
  for (const auto code : {ifSupported(listCode), bitsCode, ifSupported(inheritanceCode)}) {
    if (code != PosixCode::success) return code;
  }
  return PosixCode::success;
}

}  // namespace

std::unique_ptr<AccessControl> makeAccessControl() {
  return std::make_unique<LinuxAccessControl>();
}

}  // namespace qrt
