// Why the daemon of this system cannot be reached.
#pragma once

#include <optional>
#include <string>

namespace qrt {

struct ServiceProblem {
  /// What is wrong, and the command that mends it or shows more.
  std::string text;
  std::string remedy;
};

/// For an address to which no connection can be made, or at which nothing answers. Changes nothing,
/// and does not start the daemon.
ServiceProblem diagnoseService(const std::string& address);

/// When others than root could read or change what the daemon keeps between its runs. The folder of
/// a daemon that has not run yet is no problem.
std::optional<ServiceProblem> stateFolderProblem();

}  // namespace qrt
