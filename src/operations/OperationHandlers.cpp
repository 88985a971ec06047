#include "operations/OperationHandlers.h"

#include "operations/PreferenceOperations.h"
#include "operations/SystemConfigurationOperations.h"
#include "operations/SystemSettings.h"
#include "operations/UtilityOperations.h"

namespace qrt {

void registerOperationHandlers(HandlerTable& handlers, const Platform& platform,
                               QRTPrivilegedOperationSetVK2& operationSet) {
  registerSystemSettingHandlers(handlers, platform);
  registerPreferenceHandlers(handlers, platform);
  registerSystemConfigurationHandlers(handlers, platform);
  registerUtilityHandlers(handlers, platform, operationSet);
}

}  // namespace qrt
