// The daemon, but that it takes a test's root certificate for the maker's.
//
//   trusting_daemon FILE      FILE: holds the SHA-1 of the certificate
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
#include "support/AppleRootDouble.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"

int main(int, char** words) {
  using namespace qrt;
  const auto digest = test::contentsOf(words[1]);
  const NativePlatform native;
  test::AppleRootDouble signing(native.facilities().codeSigning, {digest.begin(), digest.end()});
  const auto platform = test::platformWith({.codeSigning = &signing}, native.facilities());
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
