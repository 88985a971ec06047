#include "hardware/HardwareHandlers.h"

#include <memory>

#include "hardware/HardwareOperations.h"
#include "hardware/SharedSMCController.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

constexpr NamedHandler hardwareHandlers[] = {
    {"performOperationModifyNvramWithArguments:", performOperationModifyNvramWithArguments},
    {"performOperationEraseDiskblocksWithArguments:", performOperationEraseDiskblocksWithArguments},
};

}  // namespace

void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared) {
  handlers.add(hardwareHandlers);
  // Bound here because all requests share the controller.
  handlers.add("performOperationWriteSmcvalueWithArguments:",
               [controller = std::make_shared<SharedSMCController>(shared.smc, shared.log)](
                   const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationWriteSmcvalueWithArguments(*controller, platform,
                                                                   arguments);
               });
}

}  // namespace qrt
