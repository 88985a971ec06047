#include "filesystem/PermissionOperations.h"

#include "filesystem/objects/PermissionPropagation.h"

namespace qrt::PermissionOperations {

Outcome performOperationModifyAclWithArguments(const ItemContext& context, const Array& arguments) {
  const auto& path = *arguments[0].string();
  const auto& externalForm = *arguments[1].data();
  if (path.empty() || externalForm.empty()) return posixError(PosixCode::invalidArgument);
  const auto list = context.accessControl.internalized(externalForm);
  if (!list) return posixError(PosixCode::invalidArgument);
  const auto location = context.files.locate(path);
  if (!location) return posixError(location.error());
  const auto object = context.files.hold(location->at(), Links::follow);
  if (!object) return posixError(object.error());
  return posixOutcome(context.accessControl.setList(*object, *list));
}

Outcome performOperationPropPermissionsWithArguments(const ItemContext& context, Log& log,
                                                     const Array& arguments,
                                                     FeedbackConnection* feedback) {
  return propagatePermissions(context, log, *arguments[0].string(),
                              arguments[1].number()->asUInt64(), arguments[2].number()->asBool(),
                              static_cast<std::uint8_t>(arguments[3].number()->asUInt64()),
                              feedback);
}

}  // namespace qrt::PermissionOperations
