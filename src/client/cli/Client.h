// One run of the command-line client.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "client/PrivilegeRequestor.h"
#include "client/cli/output/ExitStatus.h"

namespace qrt {

class CallerProcess;
class Terminal;
struct Platform;

/// All that a run needs of the world around it.
struct ClientSurroundings {
  const Platform& platform;
  Terminal& terminal;
  CallerProcess& caller;
  /// Folder of the string tables, and the language to look for there ("de").
  std::string bundlePath;
  std::string language;
  RegistrationPatience patience = {};
  bool mayColor = false;
  /// How long the client waits for the helper in silence.
  std::chrono::milliseconds silence{1000};
};

/// `words` are those behind the program's name.
ExitStatus runClient(const std::vector<std::string>& words, const ClientSurroundings& surroundings);

}  // namespace qrt
