// The composition root: makes the platform, opens the doors of the subsystems, enters the service.
#include <iostream>

#include "filesystem/FileSystemHandlers.h"
#include "hardware/HardwareHandlers.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/SelfProcess.h"
#include "service/EmbeddedPropertyLists.h"
#include "service/EntryPoint.h"
#include "software/SoftwareHandlers.h"
#include "system/SystemHandlers.h"

int main(int argc, char** argv) {
  const qrt::NativePlatform native;
  const auto& platform = native.facilities();

  const auto info = platform.propertyLists.parse(qrt::infoPropertyList);
  const qrt::Dictionary nothing;
  const auto* infoDictionary = info ? info->dictionary() : nullptr;

  const auto registerHandlers = [&](qrt::QRTPrivilegedOperationSet& operationSet) {
    auto& handlers = operationSet.handlers();
    // The one set there is. It knows whose output is being forwarded.
    auto& liveSet = dynamic_cast<qrt::QRTPrivilegedOperationSetVK2&>(operationSet);
    qrt::registerSystemHandlers(handlers, liveSet);
    qrt::registerFileSystemHandlers(handlers);
    qrt::registerHardwareHandlers(handlers, platform);
    qrt::registerSoftwareHandlers(handlers, liveSet);
  };
  const qrt::EntryPoint entryPoint{platform, infoDictionary ? *infoDictionary : nothing,
                                   registerHandlers, std::cout, std::cerr};
  const auto arguments = std::span<const char* const>(argv, argc > 0 ? argc : 0);
  const int status = entryPoint.enter(arguments.subspan(arguments.empty() ? 0 : 1));
  std::cout.flush();
  // Connections may still be served; nothing is torn down under them.
  platform.self.exit(status);
}
