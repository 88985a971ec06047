// Lists of access rights. Objects keep theirs here, under their inodes.
#pragma once

#include <fcntl.h>
#include <libkern/OSByteOrder.h>
#include <sys/kauth.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <vector>

using FakeList = std::vector<kauth_ace>;
inline std::map<ino_t, FakeList> fakeLists;

struct _acl {
  FakeList entries;
  std::size_t next = 0;
};
using acl_t = _acl*;
using acl_entry_t = kauth_ace*;
using acl_flagset_t = kauth_ace*;
using filesec_t = int*;

constexpr int ACL_FIRST_ENTRY = 0, ACL_NEXT_ENTRY = -1, ACL_MAX_ENTRIES = 128,
              ACL_TYPE_EXTENDED = 0x100, ACL_ENTRY_INHERITED = 1 << 4, FILESEC_ACL = 5;
inline void* const _FILESEC_REMOVE_ACL = reinterpret_cast<void*>(1);

inline ino_t inodeOf(int object) {
  struct stat status {};
  fstat(object, &status);
  return status.st_ino;
}

/// What follows the head of a form.
template <class Byte>
auto* entriesOf(Byte* form) {
  using Entry = std::conditional_t<std::is_const_v<Byte>, const kauth_ace, kauth_ace>;
  return reinterpret_cast<Entry*>(reinterpret_cast<std::uintptr_t>(form) + KAUTH_FILESEC_SIZE(0));
}

inline acl_t acl_init(int) { return new _acl; }
inline acl_t acl_dup(acl_t list) { return new _acl{list->entries}; }
inline void acl_free(acl_t list) { delete list; }
inline acl_t acl_from_text(const char* text) {
  return *text ? new _acl{{{{{0xAB}}, 1, 2}, {{{0xCD}}, 2, 4}}} : nullptr;
}
inline int acl_get_entry(acl_t list, int which, acl_entry_t* entry) {
  if (which == ACL_FIRST_ENTRY) list->next = 0;
  if (list->next == list->entries.size()) return errno = EINVAL, -1;
  *entry = &list->entries[list->next++];
  return 0;
}
inline ssize_t acl_size(acl_t list) {
  return static_cast<ssize_t>(KAUTH_FILESEC_SIZE(list->entries.size()));
}
inline ssize_t acl_copy_ext_native(void* form, acl_t list, ssize_t size) {
  kauth_filesec head{KAUTH_FILESEC_MAGIC, {}, {}, {}};
  head.fsec_acl.acl_entrycount = static_cast<std::uint32_t>(list->entries.size());
  std::memcpy(form, &head, KAUTH_FILESEC_SIZE(0));
  std::copy(list->entries.begin(), list->entries.end(), entriesOf(form));
  return size;
}
/// The numbers of the entries stay as they are: only `acl_copy_int` reads them.
inline ssize_t acl_copy_ext(void* form, acl_t list, ssize_t size) {
  acl_copy_ext_native(form, list, size);
  const auto count = OSSwapHostToBigInt32(static_cast<std::uint32_t>(list->entries.size()));
  std::memcpy(static_cast<char*>(form) + offsetof(kauth_filesec, fsec_acl), &count, sizeof count);
  return size;
}
inline acl_t acl_copy_int(const void* form) {
  kauth_filesec head{};
  std::memcpy(&head, form, KAUTH_FILESEC_SIZE(0));
  auto* list = new _acl{FakeList(OSSwapBigToHostInt32(head.fsec_acl.acl_entrycount))};
  std::copy_n(entriesOf(form), list->entries.size(), list->entries.begin());
  return list;
}
inline int acl_get_flagset_np(acl_entry_t entry, acl_flagset_t* flags) {
  *flags = entry;
  return 0;
}
inline int acl_add_flag_np(acl_flagset_t flags, int flag) {
  flags->ace_flags |= static_cast<std::uint32_t>(flag);
  return 0;
}
inline int acl_set_flagset_np(acl_entry_t, acl_flagset_t) { return 0; }

inline acl_t acl_get_fd_np(int object, int) {
  const auto found = fakeLists.find(inodeOf(object));
  if (found == fakeLists.end()) return errno = ENOENT, nullptr;
  return new _acl{found->second};
}
inline int acl_set_fd_np(int object, acl_t list, int) {
  fakeLists[inodeOf(object)] = list->entries;
  return 0;
}
inline filesec_t filesec_init() { return new int(0); }
inline void filesec_free(filesec_t security) { delete security; }
inline int filesec_set_property(filesec_t, int, const void* value) {
  return value == _FILESEC_REMOVE_ACL ? 0 : (errno = EINVAL, -1);
}
inline int fchmodx_np(int object, filesec_t) {
  fakeLists.erase(inodeOf(object));
  return 0;
}
