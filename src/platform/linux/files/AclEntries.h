// The entries of an access control list as values.
#pragma once

#include <sys/acl.h>
#include <sys/types.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "base/Result.h"

namespace qrt {

struct AclEntry {
  acl_tag_t tag;
  /// Of a named user or group; 0 for the others.
  id_t qualifier;
  /// `ACL_READ`, `ACL_WRITE`, `ACL_EXECUTE`.
  acl_perm_t permissions;

  bool isNamed() const { return tag == ACL_USER || tag == ACL_GROUP; }
  /// One of the entries that are the permission bits of an object without a list.
  bool isBase() const { return !isNamed() && tag != ACL_MASK; }
  bool isFor(const AclEntry& other) const {
    return tag == other.tag && qualifier == other.qualifier;
  }
  friend bool operator==(const AclEntry&, const AclEntry&) = default;
};

/// In the order in which libacl keeps them: by tag and qualifier.
using AclEntries = std::vector<AclEntry>;

struct AclDeleter {
  void operator()(acl_t list) const { ::acl_free(list); }
};
using AclOwner = std::unique_ptr<std::remove_pointer_t<acl_t>, AclDeleter>;

/// A list with entries of other kinds, or with two for the same user or group, is
/// `invalidArgument`.
PosixResult<AclEntries> entriesOf(acl_t list);

PosixResult<AclOwner> aclOf(const AclEntries& entries);

/// True when they say more than permission bits can.
bool isExtended(const AclEntries& entries);

/// Null when no entry has that tag.
const AclEntry* find(const AclEntries& entries, acl_tag_t tag);

}  // namespace qrt
