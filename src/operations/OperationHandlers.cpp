#include "operations/OperationHandlers.h"

#include "operations/PreferenceOperations.h"
#include "operations/SystemConfigurationOperations.h"
#include "operations/SystemSettings.h"
#include "operations/UtilityOperations.h"

namespace qrt {

void registerOperationHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet) {
  registerSystemSettingHandlers(handlers);
  registerPreferenceHandlers(handlers);
  registerSystemConfigurationHandlers(handlers);
  registerUtilityHandlers(handlers, operationSet);
}

}  // namespace qrt
