// The daemon, but that it takes a test's root certificate for the maker's.
//
//   trusting_daemon DIGEST      DIGEST: SHA-1 of the certificate in hexadecimal digits
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
#include "support/PlatformDouble.h"

int main(int argc, char** argv) {
  using namespace qrt;
  const std::string digits = argc == 2 ? argv[1] : "";
  Data rootDigest;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    rootDigest.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  const NativePlatform native;
  test::AppleRootDouble signing(native.facilities().codeSigning, rootDigest);
  const auto platform = test::platformWith({.codeSigning = &signing}, native.facilities());
  const auto info = platform.propertyLists.parse(infoPropertyList);
  const auto registerHandlers = [&](QRTPrivilegedOperationSet& set) {
    auto& liveSet = dynamic_cast<QRTPrivilegedOperationSetVK2&>(set);
    registerOperationHandlers(set.handlers(), platform, liveSet);
    registerFileSystemHandlers(set.handlers(), platform);
    registerHardwareHandlers(set.handlers(), platform, liveSet);
  };
  const EntryPoint entryPoint{platform, *info->dictionary(), registerHandlers, std::cout,
                              std::cerr};
  platform.self.exit(entryPoint.enter({}));
}
