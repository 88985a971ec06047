// The status of a file-system object.
#pragma once

#include <cstdint>

#include "base/PropertyValue.h"

namespace qrt {

/// Type bits of a mode; the same numbers on every port.
namespace file_type {
inline constexpr std::uint32_t mask = 0xF000;
inline constexpr std::uint32_t fifo = 0x1000;
inline constexpr std::uint32_t characterDevice = 0x2000;
inline constexpr std::uint32_t folder = 0x4000;
inline constexpr std::uint32_t blockDevice = 0x6000;
inline constexpr std::uint32_t regular = 0x8000;
inline constexpr std::uint32_t link = 0xA000;
inline constexpr std::uint32_t socket = 0xC000;
inline constexpr std::uint32_t whiteout = 0xE000;
}  // namespace file_type

/// Permission bits of a mode.
namespace permission_bits {
inline constexpr std::uint32_t all = 07777;
inline constexpr std::uint32_t setID = 06000;
}  // namespace permission_bits

/// BSD file flags. A port maps the flags of its file systems to these numbers.
namespace file_flag {
inline constexpr std::uint32_t userImmutable = 0x2;
inline constexpr std::uint32_t userAppendOnly = 0x4;
inline constexpr std::uint32_t hidden = 0x8000;
inline constexpr std::uint32_t systemImmutable = 0x20000;
inline constexpr std::uint32_t systemAppendOnly = 0x40000;
inline constexpr std::uint32_t restricted = 0x80000;
inline constexpr std::uint32_t noUnlink = 0x100000;

/// Flags that forbid changes: the owner of an object can clear the first ones, only the system the
/// second ones.
inline constexpr std::uint32_t userProtection = userImmutable | userAppendOnly;
inline constexpr std::uint32_t systemProtection = systemImmutable | systemAppendOnly;

/// With one of these, an object refuses every write of its flags, even of the same flags.
inline constexpr std::uint32_t refusingChanges = systemProtection | restricted | noUnlink;
}  // namespace file_flag

struct FileStatus {
  /// Type bits and the twelve permission bits.
  std::uint32_t mode = 0;
  std::uint32_t flags = 0;
  std::uint32_t userID = 0;
  std::uint32_t groupID = 0;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t linkCount = 0;
  /// Logical size in bytes.
  std::uint64_t size = 0;
  Date modificationDate;
  /// Another file system is mounted here. False where the system does not report it.
  bool isMountRoot = false;

  std::uint32_t type() const { return mode & file_type::mask; }
  std::uint32_t permissions() const { return mode & permission_bits::all; }
  bool isFolder() const { return type() == file_type::folder; }
  bool isLink() const { return type() == file_type::link; }
  bool hasSameOwnerAs(const FileStatus& other) const {
    return userID == other.userID && groupID == other.groupID;
  }
  bool isSameObjectAs(const FileStatus& other) const {
    return device == other.device && inode == other.inode;
  }
};

}  // namespace qrt
