#include "platform/linux/files/FileSystemIdentity.h"

#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace qrt {
namespace {

/// The kernel keeps groups by thread; the library's own call would change those of all threads.
bool setGroupsOfThread(const std::vector<gid_t>& groups) {
  return syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

std::vector<gid_t> groupsOfThread() {
  const int count = std::max(getgroups(0, nullptr), 0);
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  groups.resize(static_cast<std::size_t>(std::max(getgroups(count, groups.data()), 0)));
  return groups;
}

/// An impossible identifier changes nothing and returns the current one.
uid_t fileSystemUser() { return static_cast<uid_t>(setfsuid(static_cast<uid_t>(-1))); }
gid_t fileSystemGroup() { return static_cast<gid_t>(setfsgid(static_cast<gid_t>(-1))); }

}  // namespace

FileSystemIdentity::FileSystemIdentity(uid_t user, gid_t group)
    : previousGroups_(groupsOfThread()),
      previousGroup_(fileSystemGroup()),
      previousUser_(fileSystemUser()) {
  const bool isInNoGroup = setGroupsOfThread({});
  setfsgid(group);
  setfsuid(user);
  isTaken_ = isInNoGroup && fileSystemGroup() == group && fileSystemUser() == user;
}

FileSystemIdentity::~FileSystemIdentity() {
  setfsuid(previousUser_);
  setfsgid(previousGroup_);
  setGroupsOfThread(previousGroups_);
}

}  // namespace qrt
