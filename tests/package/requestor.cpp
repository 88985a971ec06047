// Prints the version of the helper; with two paths it asks the helper to uninstall itself.
//   requestor [EXECUTABLE JOB]
#include <iostream>

#include "client/PrivilegeRequestor.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/CallerProcess.h"
#include "platform/NativePlatform.h"
#include "protocol/Names.h"

int main(int count, char** words) {
  const qrt::NativePlatform native;
  const auto& platform = native.facilities();
  const qrt::QRTPrivilegedOperationSetVK2 operations(platform.log, platform.authority);
  const auto process = qrt::makeNativeCallerProcess()->processIdentifier();
  auto requestor = qrt::PrivilegeRequestor::connect(platform, std::string(qrt::defaultSocketPath),
                                                    process, operations);
  if (!requestor) return 1;
  if (count < 3) {
    const auto version = (*requestor)->version();
    std::cout << (version ? *version : "unknown") << "\n";
    return version ? 0 : 1;
  }
  const auto outcome = (*requestor)->perform("perform-uninstall", {process, words[1], words[2]});
  if (outcome) std::cerr << outcome->domain << " " << outcome->code << "\n";
  return outcome ? 1 : 0;
}
