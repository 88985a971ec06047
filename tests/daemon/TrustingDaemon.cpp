// The daemon, but that it takes a test's root certificate for the maker's.
//
//   trusting_daemon FILE      FILE: holds the SHA-1 of the certificate
#include <iostream>

#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/SelfProcess.h"
#include "service/AllHandlers.h"
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
  const auto info = readPropertyList(infoPropertyList);
  const EntryPoint entryPoint{platform, *info->dictionary(), registerAllHandlers, std::cout,
                              std::cerr};
  platform.self.exit(entryPoint.enter({}));
}
