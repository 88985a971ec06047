#include <CoreServices/CoreServices.h>

#include "platform/macos/CFOwner.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/posix/PosixUserDirectory.h"

namespace qrt {
namespace {

/// Null when the authority does not answer.
CFOwner<CFArrayRef> userIdentities() {
  const CFOwner<CSIdentityQueryRef> query(
      CSIdentityQueryCreate(nullptr, kCSIdentityClassUser, CSGetDefaultIdentityAuthority()));
  const bool isAnswered =
      query &&
      CSIdentityQueryExecute(query.get(), kCSIdentityQueryIncludeHiddenIdentities, nullptr);
  if (!isAnswered) return {};
  return CFOwner<CFArrayRef>(CSIdentityQueryCopyResults(query.get()));
}

/// Users of the password database and of the identity authority.
class MacosUserDirectory final : public PosixUserDirectory {
 public:
  UserIDs listedUserIDs() override {
    auto ids = PosixUserDirectory::listedUserIDs();
    const auto identities = userIdentities();
    const auto count = identities ? CFArrayGetCount(identities.get()) : 0;
    for (CFIndex i = 0; i < count; ++i) {
      const auto identity = castObject<CSIdentityRef>(CFArrayGetValueAtIndex(identities.get(), i),
                                                      CSIdentityGetTypeID());
      if (identity) ids.insert(CSIdentityGetPosixID(identity));
    }
    return ids;
  }
};

}  // namespace

std::unique_ptr<UserDirectory> makeUserDirectory() {
  return std::make_unique<MacosUserDirectory>();
}

}  // namespace qrt
