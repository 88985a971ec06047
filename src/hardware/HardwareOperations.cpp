#include "hardware/HardwareOperations.h"

#include <memory>

#include "hardware/FirmwareOperations.h"
#include "hardware/InstallMediaOperation.h"
#include "hardware/SharedSMCController.h"
#include "operations/HandlerTable.h"
#include "platform/Platform.h"

namespace qrt {

void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared,
                              QRTPrivilegedOperationSetVK2& operationSet) {
  handlers.add("performOperationModifyNvramWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationModifyNvramWithArguments(arguments, platform.nvram);
               });
  handlers.add("performOperationCreateInstallmediaWithArguments:feedbackConnection:",
               [&operationSet](const Platform& platform, const Array& arguments,
                               FeedbackConnection* feedback) {
                 return performOperationCreateInstallmediaWithArguments(arguments, feedback,
                                                                        platform, operationSet);
               });
  handlers.add("performOperationEraseDiskblocksWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationEraseDiskblocksWithArguments(arguments,
                                                                     platform.blockDevices);
               });
  const auto controller = std::make_shared<SharedSMCController>(shared.smc, shared.log);
  handlers.add("performOperationWriteSmcvalueWithArguments:",
               [controller](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationWriteSmcvalueWithArguments(arguments, *controller,
                                                                   platform.log);
               });
}

}  // namespace qrt
