#include "hardware/HardwareOperations.h"

#include <memory>

#include "hardware/FirmwareOperations.h"
#include "hardware/InstallMediaOperation.h"
#include "hardware/SharedSMCController.h"
#include "operations/HandlerTable.h"
#include "platform/Platform.h"

namespace qrt {

void registerHardwareHandlers(HandlerTable& handlers, const Platform& platform,
                              QRTPrivilegedOperationSetVK2& operationSet) {
  auto& nvram = platform.nvram;
  handlers.add("performOperationModifyNvramWithArguments:",
               [&nvram](const Array& arguments, FeedbackConnection*) {
                 return performOperationModifyNvramWithArguments(arguments, nvram);
               });
  handlers.add("performOperationCreateInstallmediaWithArguments:feedbackConnection:",
               [&platform, &operationSet](const Array& arguments, FeedbackConnection* feedback) {
                 return performOperationCreateInstallmediaWithArguments(arguments, feedback,
                                                                        platform, operationSet);
               });
  auto& devices = platform.blockDevices;
  handlers.add("performOperationEraseDiskblocksWithArguments:",
               [&devices](const Array& arguments, FeedbackConnection*) {
                 return performOperationEraseDiskblocksWithArguments(arguments, devices);
               });
  const auto controller = std::make_shared<SharedSMCController>(platform.smc, platform.log);
  handlers.add("performOperationWriteSmcvalueWithArguments:",
               [controller](const Array& arguments, FeedbackConnection*) {
                 return performOperationWriteSmcvalueWithArguments(arguments, *controller);
               });
}

}  // namespace qrt
