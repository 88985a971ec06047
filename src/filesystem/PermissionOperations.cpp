#include "filesystem/PermissionOperations.h"

#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/PermissionPropagation.h"
#include "operations/Arguments.h"
#include "platform/AccessControl.h"
#include "platform/Platform.h"

namespace qrt::PermissionOperations {

Outcome performOperationModifyAclWithArguments(const Platform& platform, const Array& arguments,
                                               FeedbackConnection*) {
  const auto [path, externalForm] = unpack<std::string, Data>(arguments);
  if (path.empty() || externalForm.empty()) return posixError(PosixCode::invalidArgument);

  const auto list = platform.accessControl.internalized(externalForm);
  if (!list) return posixError(PosixCode::invalidArgument);
  const auto object = FileManager::holdItemAtPath(platform.files, path, Links::follow);
  if (!object) return posixError(object.error());
  return posixOutcome(platform.accessControl.setList(*object, *list));
}

Outcome performOperationPropPermissionsWithArguments(const Platform& platform,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  const auto [folder, expectedCount, stayOnFileSystem, options] =
      unpack<std::string, std::uint64_t, bool, std::uint8_t>(arguments);
  return propagatePermissions(platform, folder, expectedCount, stayOnFileSystem, options, feedback);
}

}  // namespace qrt::PermissionOperations
