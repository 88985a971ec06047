#include "hardware/HardwareHandlers.h"

#include <memory>

#include "hardware/FirmwareOperations.h"
#include "hardware/SharedSMCController.h"
#include "operations/HandlerTable.h"
#include "platform/Platform.h"

namespace qrt {

void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared) {
  handlers.add("performOperationModifyNvramWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationModifyNvramWithArguments(arguments, platform.nvram);
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
