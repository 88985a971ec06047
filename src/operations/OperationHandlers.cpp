#include "operations/OperationHandlers.h"

#include "operations/PreferenceOperations.h"
#include "operations/SystemConfigurationOperations.h"
#include "operations/SystemSettings.h"
#include "operations/UtilityOperations.h"
#include "platform/Platform.h"

namespace qrt {

void registerOperationHandlers(HandlerTable& handlers, const Platform& platform,
                               QRTPrivilegedOperationSetVK2& operationSet) {
  registerSystemSettingHandlers(handlers, platform);
  registerPreferenceHandlers(handlers, platform.preferences, platform.propertyLists);
  registerSystemConfigurationHandlers(handlers, platform.systemConfiguration,
                                      platform.propertyLists, platform.log);
  registerUtilityHandlers(handlers, platform, operationSet);
}

}  // namespace qrt
