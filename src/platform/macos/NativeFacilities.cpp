#include "platform/posix/NativeFacilities.h"

#include "platform/NativeFileSystem.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {

/// The facilities are services of the system, which knows no other root.
NativeFacilities makeNativeFacilities(const std::string&) {
  return {.log = makeLog(),
          .self = makeSelfProcess(),
          .files = makeNativeFileSystem(),
          .extendedAttributes = makeExtendedAttributes(),
          .accessControl = makeAccessControl(),
          .processes = makeProcessTable(),
          .users = makeUserDirectory(),
          .kernelSettings = makeKernelSettings(),
          .jobControl = makeJobControl(),
          .preferences = makePreferences(),
          .systemConfiguration = makeSystemConfiguration(),
          .authority = makeAuthority(),
          .transport = makeTransport(),
          .helperConnector = makeHelperConnector(),
          .smc = makeSMCExchange(),
          .nvram = makeNvram(),
          .applications = makeApplicationRegistry(),
          .codeSigning = makeCodeSigning(),
          .volumes = makeVolumes()};
}

}  // namespace qrt
