// What a folder gives to the objects below it.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/AccessControl.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt {

/// What is propagated.
namespace propagation_option {
inline constexpr std::uint8_t accessControlList = 0x01;
inline constexpr std::uint8_t othersPermissions = 0x02;
inline constexpr std::uint8_t groupPermissions = 0x04;
inline constexpr std::uint8_t ownerPermissions = 0x08;
inline constexpr std::uint8_t group = 0x10;
inline constexpr std::uint8_t owner = 0x20;
/// Marks the entries of the list as inherited before it is propagated.
inline constexpr std::uint8_t markAsInherited = 0x40;
}  // namespace propagation_option

/// The rights of a folder, and which of them are to be given.
class PermissionModel {
 public:
  /// The folder as it is now; later changes do not matter.
  static PosixResult<PermissionModel> of(const Platform& platform, const Folder& folder,
                                         std::uint8_t options);

  bool givesList() const { return gives(propagation_option::accessControlList); }
  bool givesOwner() const { return gives(propagation_option::owner | propagation_option::group); }
  bool givesPermissions() const;

  const std::optional<AccessControlList>& list() const { return list_; }

  /// What the object of that status is to have; without the option, what it has.
  std::uint32_t userIDFor(const FileStatus& object) const;
  std::uint32_t groupIDFor(const FileStatus& object) const;
  std::uint32_t permissionsFor(const FileStatus& object) const;

 private:
  PermissionModel(std::uint8_t options, const FileStatus& status,
                  std::optional<AccessControlList> list)
      : options_(options), status_(status), list_(std::move(list)) {}

  bool gives(std::uint8_t anyOf) const { return (options_ & anyOf) != 0; }

  std::uint8_t options_;
  FileStatus status_;
  std::optional<AccessControlList> list_;
};

}  // namespace qrt
