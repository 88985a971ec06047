#include "platform/linux/LinuxAccessControl.h"

#include <acl/libacl.h>
#include <sys/acl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "platform/linux/AclEntries.h"
#include "platform/linux/DescriptorPath.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// All entries of the list, those included that are permission bits, where it came with some.
struct AccessControlList::Content {
  AclEntries entries;
};

namespace {

using OptionalList = std::optional<AccessControlList>;

constexpr std::uint32_t permissionBits = 07777;
constexpr unsigned groupShift = 3;
constexpr std::uint32_t groupBits = 0070;

/// More entries than any file system keeps, and few enough for libacl, which puts an array of them
/// on the stack.
constexpr std::size_t largestExternalForm = 512 * 1024;

PosixCode codeFor(int result) { return result == 0 ? PosixCode::success : lastError(); }

OptionalList listOf(AclEntries entries) {
  if (!isExtended(entries)) return std::nullopt;
  return AccessControlList(std::make_shared<const AccessControlList::Content>(std::move(entries)));
}

/// The length that an external form says it has, which is what libacl goes by.
bool isComplete(const Data& externalForm) {
  std::size_t length = 0;
  if (externalForm.size() < sizeof length || externalForm.size() > largestExternalForm)
    return false;
  std::memcpy(&length, externalForm.data(), sizeof length);
  return length == externalForm.size();
}

/// The entries of a list that came from outside. Some of what libacl lets pass could not be set.
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

/// Of an object without a list: its permission bits.
PosixResult<AclEntries> read(const HeldObject& object, acl_type_t type) {
  const AclOwner list(::acl_get_file(descriptorPath(object.descriptor()).c_str(), type));
  return list ? entriesOf(list.get()) : lastError();
}

PosixCode write(const HeldObject& object, acl_type_t type, const AclEntries& entries) {
  const auto list = aclOf(entries);
  if (!list) return list.error();
  return codeFor(::acl_set_file(descriptorPath(object.descriptor()).c_str(), type, list->get()));
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

/// The base entries of the one with what else is in the other. Named entries need a mask: without
/// one it is as wide as they are together.
AclEntries combined(const AclEntries& base, const AclEntries& extension) {
  AclEntries entries;
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

PosixCode writeWholeList(const HeldObject& object, const AccessRights& rights) {
  const auto entries = wholeList(*rights.list, rights.permissions);
  return entries ? write(object, ACL_TYPE_ACCESS, *entries) : entries.error();
}

/// The bits that leave the owning group with no more than a list gave it.
std::uint32_t permissionsWithoutList(const AccessRights& rights) {
  if (!rights.list) return rights.permissions;
  const auto* group = find(rights.list->content().entries, ACL_GROUP_OBJ);
  const std::uint32_t granted = group ? group->permissions << groupShift : 0;
  return rights.permissions & (~groupBits | granted);
}

PosixCode setInheritance(const HeldObject& folder, const OptionalList& inheritance) {
  if (inheritance) return write(folder, ACL_TYPE_DEFAULT, inheritance->content().entries);
  return codeFor(::acl_delete_def_file(descriptorPath(folder.descriptor()).c_str()));
}

PosixResult<std::uint32_t> modeOf(const HeldObject& object) {
  struct stat status;
  if (::fstat(object.descriptor(), &status) != 0) return lastError();
  return std::uint32_t{status.st_mode};
}

}  // namespace

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
  auto entries = read(object, ACL_TYPE_ACCESS);
  if (entries) return listOf(std::move(*entries));
  if (entries.error() == PosixCode::notSupported) return OptionalList();
  return entries.error();
}

PosixCode LinuxAccessControl::setList(const HeldObject& object, const OptionalList& list) {
  const auto own = read(object, ACL_TYPE_ACCESS);
  if (!own) {
    const bool hasNoneAsWanted = !list && own.error() == PosixCode::notSupported;
    return hasNoneAsWanted ? PosixCode::success : own.error();
  }
  const auto wanted = combined(*own, list ? list->content().entries : AclEntries());
  return wanted == *own ? PosixCode::success : write(object, ACL_TYPE_ACCESS, wanted);
}

PosixResult<AccessRights> LinuxAccessControl::rights(const HeldObject& object) {
  const auto mode = modeOf(object);
  if (!mode) return mode.error();
  AccessRights rights;
  rights.permissions = *mode & permissionBits;
  const auto own = list(object);
  if (!own) return own.error();
  rights.list = *own;
  if (!S_ISDIR(*mode)) return rights;

  auto passedOn = read(object, ACL_TYPE_DEFAULT);
  if (!passedOn && passedOn.error() != PosixCode::notSupported) return passedOn.error();
  if (passedOn && !passedOn->empty()) {
    rights.inheritance.emplace(
        std::make_shared<const AccessControlList::Content>(std::move(*passedOn)));
  }
  return rights;
}

PosixCode LinuxAccessControl::setRights(const HeldObject& object, const AccessRights& rights) {
  const auto mode = modeOf(object);
  if (!mode) return mode.error();
  // First of all, because bits alone would give the group what the mask only allows.
  auto permissions = rights.permissions;
  auto code = rights.list ? writeWholeList(object, rights) : setList(object, std::nullopt);
  if (code == PosixCode::notSupported) {
    permissions = permissionsWithoutList(rights);
    code = PosixCode::success;
  }
  if (code == PosixCode::success) code = object.setPermissions(permissions);
  if (code != PosixCode::success || !S_ISDIR(*mode)) return code;
  code = setInheritance(object, rights.inheritance);
  return code == PosixCode::notSupported ? PosixCode::success : code;
}

}  // namespace qrt
