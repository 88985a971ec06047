#include "software/SoftwareHandlers.h"

#include "software/InstallMediaOperations.h"

namespace qrt {

void registerSoftwareHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet) {
  // Bound here because the set keeps the output connection of the last run.
  handlers.add("performOperationCreateInstallmediaWithArguments:feedbackConnection:",
               [&](const Platform& platform, const Array& arguments, FeedbackConnection* feedback) {
                 return performOperationCreateInstallmediaWithArguments(operationSet, platform,
                                                                        arguments, feedback);
               });
}

}  // namespace qrt
