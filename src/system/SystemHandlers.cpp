#include "system/SystemHandlers.h"

#include "system/KernelOperations.h"
#include "system/PreferenceOperations.h"
#include "system/SystemConfigurationOperations.h"
#include "system/TrustedUtilities.h"
#include "system/UtilityOperations.h"

namespace qrt {
namespace {

constexpr NamedHandler systemHandlers[] = {
    {"performOperationModifyKernelsettingWithArguments:",
     performOperationModifyKernelsettingWithArguments},
    {"performOperationSignalProcessWithArguments:", performOperationSignalProcessWithArguments},
    {"performOperationModifyPreferencesWithArguments:",
     performOperationModifyPreferencesWithArguments},
    {"performOperationModifySysconfWithArguments:", performOperationModifySysconfWithArguments},
    {"performOperationEnableIpvsixWithArguments:", performOperationEnableIpvsixWithArguments},
};

}  // namespace

void registerSystemHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet) {
  handlers.add(systemHandlers);
  // Bound here because the set keeps the output connection of the last run.
  handlers.add("performOperationExecuteUtilityWithArguments:feedbackConnection:",
               [&operationSet, utilities = TrustedUtilities()](
                   const Platform& platform, const Array& arguments, FeedbackConnection* feedback) {
                 return performOperationExecuteUtilityWithArguments(operationSet, utilities,
                                                                    platform, arguments, feedback);
               });
}

}  // namespace qrt
