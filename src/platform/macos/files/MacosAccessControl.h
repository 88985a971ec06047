// Extended access control lists of the home platform.
#pragma once

#include "platform/AccessControl.h"

namespace qrt {

/// A list without entries is no list. Those of sockets and devices can be replaced, but not read:
/// they are told to have none.
class MacosAccessControl final : public AccessControl {
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
