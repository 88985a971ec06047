#include "filesystem/objects/PermissionModel.h"

#include <utility>

namespace qrt {
namespace {

using namespace propagation_option;

/// Objects with this type bit get all permissions like a folder: sockets and block devices as well.
constexpr std::uint32_t folderBit = 0x4000;

struct PermissionClass {
  std::uint8_t option;
  std::uint32_t ofFolders;
  /// Execute bits of other objects are their own.
  std::uint32_t ofOthers;
};

constexpr PermissionClass permissionClasses[] = {
    {ownerPermissions, 0700, 0600},
    {groupPermissions, 0070, 0060},
    {othersPermissions, 0007, 0006},
};

}  // namespace

PosixResult<PermissionModel> PermissionModel::of(const Platform& platform, const Folder& folder,
                                                 std::uint8_t options) {
  const auto held = platform.files.hold({folder, "."}, Links::stay);
  if (!held) return held.error();
  const auto status = held->status();
  if (!status) return status.error();
  auto list = platform.accessControl.list(*held);
  if (!list) return list.error();
  if (*list && (options & markAsInherited) != 0) {
    auto marked = platform.accessControl.markedAsInherited(**list);
    if (!marked) return marked.error();
    *list = std::move(*marked);
  }
  return PermissionModel(options, *status, std::move(*list));
}

bool PermissionModel::givesPermissions() const {
  return gives(ownerPermissions | groupPermissions | othersPermissions);
}

std::uint32_t PermissionModel::userIDFor(const FileStatus& object) const {
  return gives(owner) ? status_.userID : object.userID;
}

std::uint32_t PermissionModel::groupIDFor(const FileStatus& object) const {
  return gives(group) ? status_.groupID : object.groupID;
}

std::uint32_t PermissionModel::permissionsFor(const FileStatus& object) const {
  auto permissions = object.permissions();
  for (const auto& row : permissionClasses) {
    if (!gives(row.option)) continue;
    const auto bits = (object.mode & folderBit) != 0 ? row.ofFolders : row.ofOthers;
    permissions = (status_.mode & bits) | (permissions & ~bits);
  }
  return permissions;
}

}  // namespace qrt
