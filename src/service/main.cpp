// The composition root: makes the platform and enters the service with the handlers of all doors.
#include <iostream>

#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/SelfProcess.h"
#include "service/AllHandlers.h"
#include "service/EmbeddedPropertyLists.h"
#include "service/EntryPoint.h"

int main(int argc, char** argv) {
  const qrt::NativePlatform native;
  const auto& platform = native.facilities();

  const auto info = qrt::readPropertyList(qrt::infoPropertyList);
  const qrt::Dictionary nothing;
  const auto* infoDictionary = info ? info->dictionary() : nullptr;

  const qrt::EntryPoint entryPoint{platform, infoDictionary ? *infoDictionary : nothing,
                                   qrt::registerAllHandlers, std::cout, std::cerr};
  const auto arguments = std::span<const char* const>(argv, argc > 0 ? argc : 0);
  const int status = entryPoint.enter(arguments.subspan(arguments.empty() ? 0 : 1));
  std::cout.flush();
  // Threads may still serve connections, so nothing is destroyed.
  platform.self.exit(status);
}
