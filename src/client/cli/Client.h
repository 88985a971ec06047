// One run of the command-line client.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "client/Requestor.h"
#include "client/cli/output/ExitStatus.h"

namespace qrt {

class CallerProcess;
class Terminal;
struct Platform;

/// What a run uses of the world around it. The references outlive the run.
struct ClientEnvironment {
  const Platform& platform;
  Terminal& terminal;
  CallerProcess& caller;
  /// Folder of the string tables, and the language to look for there ("de").
  std::string bundlePath;
  std::string language;
  RegistrationPatience patience = {};
  bool mayColor = false;
  /// When the helper takes longer than this to start, the client prints a notice.
  std::chrono::milliseconds noticeDelay{1000};
  /// Whether a terminal on standard error can redraw a line.
  bool mayRedraw = true;
};

/// `words` follow the program's name.
ExitStatus runClient(const std::vector<std::string>& words, const ClientEnvironment& environment);

}  // namespace qrt
