// The daemon with facilities of a test's own.
#pragma once

#include <iostream>

#include "filesystem/FileSystemOperations.h"
#include "hardware/HardwareOperations.h"
#include "operations/OperationHandlers.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/SelfProcess.h"
#include "service/EmbeddedPropertyLists.h"
#include "service/EntryPoint.h"
#include "support/PlatformDouble.h"

namespace qrt::test {

/// Serves until the process ends.
inline void runDaemon(const Doubles& doubles, const Platform& rest) {
  const auto platform = platformWith(doubles, rest);
  const auto info = platform.propertyLists.parse(infoPropertyList);
  const auto registerHandlers = [&](QRTPrivilegedOperationSet& set) {
    auto& liveSet = dynamic_cast<QRTPrivilegedOperationSetVK2&>(set);
    registerOperationHandlers(set.handlers(), liveSet);
    registerFileSystemHandlers(set.handlers());
    registerHardwareHandlers(set.handlers(), platform, liveSet);
  };
  const EntryPoint entryPoint{platform, *info->dictionary(), registerHandlers, std::cout,
                              std::cerr};
  platform.self.exit(entryPoint.enter({}));
}

}  // namespace qrt::test
