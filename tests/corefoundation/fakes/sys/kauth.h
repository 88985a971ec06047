// The layout of access control lists as the kernel takes them.
#pragma once

#include <cstddef>
#include <cstdint>

struct guid_t {
  std::uint8_t g_guid[16];
};
struct kauth_ace {
  guid_t ace_applicable;
  std::uint32_t ace_flags, ace_rights;
};
struct kauth_acl {
  std::uint32_t acl_entrycount, acl_flags;
  kauth_ace acl_ace[1];
};
struct kauth_filesec {
  std::uint32_t fsec_magic;
  guid_t fsec_owner, fsec_group;
  kauth_acl fsec_acl;
};

constexpr std::uint32_t KAUTH_FILESEC_MAGIC = 0x012cc16d, KAUTH_FILESEC_NOACL = 0xFFFFFFFF;
constexpr std::size_t KAUTH_FILESEC_SIZE(std::size_t count) {
  return 44 + count * sizeof(kauth_ace);
}
