#include "platform/linux/files/AclEntries.h"

#include <acl/libacl.h>

#include <algorithm>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

constexpr acl_perm_t everyPermission[] = {ACL_READ, ACL_WRITE, ACL_EXECUTE};

PosixResult<AclEntry> read(acl_entry_t from) {
  AclEntry entry{};
  acl_permset_t permissions = nullptr;
  if (::acl_get_tag_type(from, &entry.tag) != 0 || ::acl_get_permset(from, &permissions) != 0) {
    return lastError();
  }
  for (const auto permission : everyPermission) {
    if (::acl_get_perm(permissions, permission) == 1) entry.permissions |= permission;
  }
  if (!entry.isNamed()) return entry;
  const std::unique_ptr<void, int (*)(void*)> qualifier(::acl_get_qualifier(from), &::acl_free);
  if (!qualifier) return lastError();
  entry.qualifier = *static_cast<const id_t*>(qualifier.get());
  return entry;
}

bool write(const AclEntry& entry, acl_entry_t to) {
  acl_permset_t permissions = nullptr;
  return ::acl_set_tag_type(to, entry.tag) == 0 &&
         (!entry.isNamed() || ::acl_set_qualifier(to, &entry.qualifier) == 0) &&
         ::acl_get_permset(to, &permissions) == 0 &&
         ::acl_add_perm(permissions, entry.permissions) == 0;
}

}  // namespace

PosixResult<AclEntries> entriesOf(acl_t list) {
  AclEntries entries;
  if (const int count = ::acl_entries(list); count > 0) {
    entries.reserve(static_cast<std::size_t>(count));
  }
  acl_entry_t next = nullptr;
  int found = ::acl_get_entry(list, ACL_FIRST_ENTRY, &next);
  for (; found == 1; found = ::acl_get_entry(list, ACL_NEXT_ENTRY, &next)) {
    const auto entry = read(next);
    if (!entry) return entry.error();
    if (!entries.empty() && entries.back().isFor(*entry)) return PosixCode::invalidArgument;
    entries.push_back(*entry);
  }
  if (found < 0) return lastError();
  return entries;
}

PosixResult<AclOwner> aclOf(const AclEntries& entries) {
  AclOwner owner(::acl_init(static_cast<int>(entries.size())));
  if (!owner) return lastError();
  // Has room for all of them, so it stays where it is.
  auto* list = owner.get();
  for (const auto& entry : entries) {
    acl_entry_t made = nullptr;
    if (::acl_create_entry(&list, &made) != 0 || !write(entry, made)) return lastError();
  }
  return owner;
}

bool isExtended(const AclEntries& entries) {
  return std::any_of(entries.begin(), entries.end(),
                     [](const AclEntry& entry) { return !entry.isBase(); });
}

const AclEntry* find(const AclEntries& entries, acl_tag_t tag) {
  const auto found = std::find_if(entries.begin(), entries.end(),
                                  [tag](const AclEntry& entry) { return entry.tag == tag; });
  return found == entries.end() ? nullptr : &*found;
}

}  // namespace qrt
