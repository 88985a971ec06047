#include "service/EntryPoint.h"

#include <ostream>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/Log.h"
#include "platform/SelfProcess.h"
#include "platform/Transport.h"
#include "service/QRTPrivilegedHelper.h"

namespace qrt {
namespace {

constexpr int succeeded = 0;
constexpr int refused = 1;

std::string textIn(const Dictionary& info, std::string_view key) {
  const auto* text = stringIn(info, key);
  return text ? *text : std::string();
}

/// Null when no operation set has that class name.
QRTPrivilegedOperationSet::Factory factoryOfClass(std::string_view name) {
  return name == "QRTPrivilegedOperationSetVK2" ? QRTPrivilegedOperationSetVK2::make : nullptr;
}

}  // namespace

int EntryPoint::enter(std::span<const char* const> arguments) const {
  if (arguments.size() > 1) return refused;

  const auto factory = factoryOfClass(textIn(infoDictionary, "NSPrincipalClass"));
  if (!factory) {
    standardError << "Internal implementation error: The principal class is either not set or not "
                     "implemented.\n";
    return refused;
  }
  auto& operationSet =
      QRTPrivilegedOperationSet::privilegedOperationSet(factory, platform.log, platform.authority);
  const auto executableVersion = textIn(infoDictionary, "CFBundleShortVersionString");

  if (arguments.size() == 1) {
    if (arguments[0][0] != 'v') return refused;
    standardOutput << executableVersion << " (Build " << textIn(infoDictionary, "CFBundleVersion")
                   << ")\n";
    return succeeded;
  }

  platform.log.open(textIn(infoDictionary, "CFBundleIdentifier"), "standard");
  const bool versionsMatch = executableVersion == operationSet.implementationVersion();
  if (!versionsMatch) {
    platform.log.fault(
        "Executable version (%{public}@) does not match implementation version of privileged "
        "command set (%{public}@).",
        executableVersion, operationSet.implementationVersion());
  }
  int status = refused;
  if (platform.self.realUserID() != 0) {
    standardError << "This program needs root privileges.";
    platform.log.error("This program needs root privileges.");
  } else if (versionsMatch) {
    status = serve(operationSet);
  }
  if (status == refused) platform.transport.turnAway();
  platform.log.standard("Privileged helper is shutting down.");
  return status;
}

int EntryPoint::serve(QRTPrivilegedOperationSet& operationSet) const {
  registerHandlers(operationSet, platform);
  const auto missing = operationSet.codesWithoutHandler();
  for (const auto code : missing) {
    platform.log.fault("Privileged operation %llu has no implementation.", code);
  }
  if (!missing.empty()) return refused;
  platform.self.prepareForService();
  auto* helper = QRTPrivilegedHelper::initForOperationSet(&operationSet, platform);
  const auto failure = helper->run();
  if (!failure) return succeeded;
  standardError << descriptionOf(*failure) << "\n";
  return refused;
}

}  // namespace qrt
