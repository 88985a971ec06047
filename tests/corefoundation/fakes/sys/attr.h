// Setting an object's list by name, as the kernel does it: by the rules of its public source.
#pragma once

#include <fcntl.h>
#include <sys/acl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

using attrgroup_t = std::uint32_t;
struct attrlist {
  std::uint16_t bitmapcount, reserved;
  attrgroup_t commonattr, volattr, dirattr, fileattr, forkattr;
};
struct attrreference_t {
  std::int32_t attr_dataoffset;
  std::uint32_t attr_length;
};

constexpr int ATTR_BIT_MAP_COUNT = 5, FSOPT_NOFOLLOW = 1;
constexpr attrgroup_t ATTR_CMN_EXTENDED_SECURITY = 0x00400000;
constexpr std::uint32_t UF_COMPRESSED = 0x20, UF_TRACKED = 0x40, UF_DATAVAULT = 0x80,
                        SF_DATALESS = 0x40000000;

inline int setattrlistat(int folder, const char* name, attrlist*, void* value, std::size_t size,
                         std::uint32_t) {
  attrreference_t where;
  std::memcpy(&where, value, sizeof where);
  kauth_filesec head{};
  const auto* form = static_cast<char*>(value) + where.attr_dataoffset;
  std::memcpy(&head, form, KAUTH_FILESEC_SIZE(0));
  const bool isRemoval = head.fsec_acl.acl_entrycount == KAUTH_FILESEC_NOACL;
  const auto count = isRemoval ? 0 : head.fsec_acl.acl_entrycount;
  const bool isExact = where.attr_length == KAUTH_FILESEC_SIZE(count) &&
                       where.attr_dataoffset + where.attr_length <= size;
  struct stat status;
  if (head.fsec_magic != KAUTH_FILESEC_MAGIC || !isExact) return errno = EINVAL, -1;
  if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return -1;
  fakeLists.erase(status.st_ino);
  if (isRemoval) return 0;
  fakeLists[status.st_ino].assign(entriesOf(form), entriesOf(form) + count);
  return 0;
}
inline int fsetattrlist(int, attrlist*, void*, std::size_t, std::uint32_t) {
  return errno = ENOTSUP, -1;
}
