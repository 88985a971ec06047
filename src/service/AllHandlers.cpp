#include "service/AllHandlers.h"

#include "filesystem/FileSystemHandlers.h"
#include "hardware/HardwareHandlers.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "software/SoftwareHandlers.h"
#include "system/SystemHandlers.h"

namespace qrt {

void registerAllHandlers(QRTPrivilegedOperationSet& operationSet, const Platform& platform) {
  auto& handlers = operationSet.handlers();
  auto& set = dynamic_cast<QRTPrivilegedOperationSetVK2&>(operationSet);  // The only one there is.
  registerFileSystemHandlers(handlers);
  registerSystemHandlers(handlers, set);
  registerHardwareHandlers(handlers, platform);
  registerSoftwareHandlers(handlers, set);
}

}  // namespace qrt
