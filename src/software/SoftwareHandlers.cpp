#include "software/SoftwareHandlers.h"

#include "operations/HandlerTable.h"
#include "software/InstallMediaOperation.h"

namespace qrt {

void registerSoftwareHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet) {
  handlers.add("performOperationCreateInstallmediaWithArguments:feedbackConnection:",
               [&operationSet](const Platform& platform, const Array& arguments,
                               FeedbackConnection* feedback) {
                 return performOperationCreateInstallmediaWithArguments(arguments, feedback,
                                                                        platform, operationSet);
               });
}

}  // namespace qrt
