#include "platform/ServiceDescription.h"

#include "protocol/Names.h"

namespace qrt {

const ServiceDescription& serviceDescription() {
  static const ServiceDescription description{
      .address = "socket",
      .addressValue = "PATH",
      .addressHelp = "Where the helper listens",
      .clientRights =
          "Where polkit runs, it asks a user without the right for an administrator's "
          "password.",
      .defaultAddress = "Where the helper listens unless --socket names another place.",
      .troubleshooting =
          "Look at \"systemctl status com.vantor.system.privilegedhelper-vk2.socket\" and "
          "\"journalctl --unit com.vantor.system.privilegedhelper-vk2.service\", or run \"qrtctl "
          "doctor\".",
      .synopsis = "com.vantor.system.privilegedhelper-vk2.socket",
      .start =
          "The socket unit starts the daemon when a client connects; the daemon ends when its "
          "last client leaves. It takes its listening socket as descriptor 3 and cannot serve "
          "without one. Clients speak D-Bus to it over the socket, without a bus; qrtctl is such a "
          "client. Any user may connect, and each request is authorized by itself.",
      .rights =
          "Root needs no further authorization. For other users polkit decides where it can be "
          "reached; otherwise they may use the operations for everybody only. A package brings the "
          "rights; without one \"qrtctl install-rights\" adds them to the system and \"qrtctl "
          "remove-rights\" removes them.",
      .wrongStart = "It was not started as root or without a socket.",
      .environment = {{"LISTEN_FDS, LISTEN_PID", "The listening socket, as systemd passes it."},
                      {"STATE_DIRECTORY",
                       "Where the daemon keeps its key and its rights; below /var/lib unless set."},
                      {"CONFIGURATION_DIRECTORY",
                       "Where system configuration settings are kept; below /etc unless set."}},
      .files = {{defaultSocketPath, "The socket."},
                {"/usr/share/polkit-1/actions",
                 "Holds com.vantor.vk2.policy with all rights, or a file for each."},
                {"/usr/share/doc/privileged-helper",
                 "Pages on the operations, the protocol, JSON and security."}},
      .clientSeeAlso = {"polkit(8)"},
      .daemonSeeAlso = {"systemd.socket(5)", "polkit(8)"}};
  return description;
}

}  // namespace qrt
