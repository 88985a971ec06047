#include "system/SystemHandlers.h"

#include "system/PreferenceOperations.h"
#include "system/SystemConfigurationOperations.h"
#include "system/SystemSettings.h"
#include "system/UtilityOperations.h"

namespace qrt {

void registerSystemHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet) {
  registerSystemSettingHandlers(handlers);
  registerPreferenceHandlers(handlers);
  registerSystemConfigurationHandlers(handlers);
  registerUtilityHandlers(handlers, operationSet);
}

}  // namespace qrt
