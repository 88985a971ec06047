// Access control lists as libacl knows them.
#pragma once

#include "platform/AccessControl.h"

namespace qrt {

/// The lists of POSIX: entries for named users and groups beside those that are the permission
/// bits. No entry is marked as inherited here.
class LinuxAccessControl : public AccessControl {
 public:
  PosixResult<std::optional<AccessControlList>> internalized(const Data& externalForm) override;
  PosixResult<Data> externalized(const std::optional<AccessControlList>& list) override;
  PosixResult<std::optional<AccessControlList>> fromText(const std::string& text) override;
  PosixResult<AccessControlList> markedAsInherited(const AccessControlList& list) override;
  PosixResult<std::optional<AccessControlList>> list(const HeldObject& object) override;
  PosixCode setList(const HeldObject& object,
                    const std::optional<AccessControlList>& list) override;
  PosixResult<AccessRights> rights(const HeldObject& object, const FileStatus& current) override;
  PosixCode setRights(const HeldObject& object, const AccessRights& rights) override;
};

}  // namespace qrt
