// What the command "doctor" finds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationDescription.h"
#include "platform/DeclaredRights.h"

namespace qrt {

class Authority;

struct Finding {
  enum class State { good, absent, problem };

  std::string subject;
  State state;
  std::string text;
  /// The command that mends it or shows more; empty when there is nothing to do.
  std::string remedy = {};
};

using Findings = std::vector<Finding>;

/// The authority that decides, its rights, where the daemon keeps its state, and the features that
/// the system has or lacks.
Findings diagnoseSystem(const OperationDescriptions& operations, const Authority& authority);

/// Compares what the authority knows, if it says, with what the operations need. `package`: see
/// `Authority::packagedRights`.
Finding diagnoseRights(const OperationDescriptions& operations,
                       const std::optional<DeclaredRights>& declared, const std::string& package);

bool hasProblem(const Findings& findings);

Array recordsOf(const Findings& findings);
/// One line for each.
std::string textOf(const Findings& findings, bool isColored);
/// The commands that mend what is wrong; empty when there is nothing to do.
std::string remediesOf(const Findings& findings);

}  // namespace qrt
