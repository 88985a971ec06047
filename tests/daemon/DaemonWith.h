// The daemon with facilities of a test's own.
#pragma once

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
#include "support/PlatformDouble.h"
#include "system/SystemHandlers.h"

namespace qrt::test {

/// Serves until the process ends.
inline void runDaemon(const Doubles& doubles, const Platform& rest) {
  const auto platform = platformWith(doubles, rest);
  const auto info = platform.propertyLists.parse(infoPropertyList);
  const auto registerHandlers = [&](QRTPrivilegedOperationSet& set) {
    auto& liveSet = dynamic_cast<QRTPrivilegedOperationSetVK2&>(set);
    registerSystemHandlers(set.handlers(), liveSet);
    registerFileSystemHandlers(set.handlers());
    registerHardwareHandlers(set.handlers(), platform);
    registerSoftwareHandlers(set.handlers(), liveSet);
  };
  const EntryPoint entryPoint{platform, *info->dictionary(), registerHandlers, std::cout,
                              std::cerr};
  platform.self.exit(entryPoint.enter({}));
}

}  // namespace qrt::test
