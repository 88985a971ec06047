#include "platform/macos/MacosUserDirectory.h"

#include <CoreServices/CoreServices.h>

#include "platform/macos/CFOwner.h"

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

}  // namespace

UserIDs MacosUserDirectory::listedUserIDs() {
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

}  // namespace qrt
