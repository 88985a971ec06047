// The daemon with facilities of a test's own.
#pragma once

#include <iostream>

#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/SelfProcess.h"
#include "service/AllHandlers.h"
#include "service/EmbeddedPropertyLists.h"
#include "service/EntryPoint.h"
#include "support/PlatformDouble.h"

namespace qrt::test {

/// Serves until the process ends.
inline void runDaemon(const Doubles& doubles, const Platform& rest) {
  const auto platform = platformWith(doubles, rest);
  const auto info = readPropertyList(infoPropertyList);
  const EntryPoint entryPoint{platform, *info->dictionary(), registerAllHandlers, std::cout,
                              std::cerr};
  platform.self.exit(entryPoint.enter({}));
}

}  // namespace qrt::test
