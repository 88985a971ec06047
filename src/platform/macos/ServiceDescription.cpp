#include "platform/ServiceDescription.h"

namespace qrt {

const ServiceDescription& serviceDescription() {
  static const ServiceDescription description{
      .address = "Mach service",
      .addressValue = "NAME",
      .addressHelp = "Mach service of the helper",
      .clientRights = "The system asks a user without the right for an administrator's password.",
      .defaultAddress = "The helper's Mach service unless --socket names another.",
      .troubleshooting =
          "Look at \"launchctl print system/com.vantor.system.privilegedhelper-vk2\", or run "
          "\"qrtctl doctor\".",
      .synopsis = "/Library/PrivilegedHelperTools/com.vantor.system.privilegedhelper-vk2",
      .start =
          "launchd starts the daemon when a client connects to its Mach service; the daemon ends "
          "when its last client leaves. launchd starts a job at most every 10 seconds, so a client "
          "may have to wait. Clients speak XPC to it; qrtctl is such a client. Any user may "
          "connect, and each request is authorized by itself.",
      .rights =
          "The authorization database decides about each request. \"qrtctl install-rights\" adds "
          "the rights to it, \"qrtctl remove-rights\" removes them.",
      .wrongStart = "It was not started as root.",
      .environment = {},
      .files = {{"/Library/PrivilegedHelperTools", "Holds the daemon."},
                {"/Library/LaunchDaemons", "Holds the property list of its job."}},
      .clientSeeAlso = {"security(1)"},
      .daemonSeeAlso = {"launchd(8)", "launchd.plist(5)", "security(1)"}};
  return description;
}

}  // namespace qrt
