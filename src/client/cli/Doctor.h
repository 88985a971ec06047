// What the command "doctor" finds.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "platform/SystemFeatures.h"

namespace qrt {

struct Finding {
  enum class State { good, absent, problem };

  std::string subject;
  State state;
  std::string text;
};

/// The authority that decides, and the features that the system has or lacks.
std::vector<Finding> diagnoseSystem(const AuthorityInUse& authority,
                                    const std::vector<SystemFeature>& features);

bool hasProblem(const std::vector<Finding>& findings);

Array recordsOf(const std::vector<Finding>& findings);
/// One line for each.
std::string textOf(const std::vector<Finding>& findings, bool isColored);

}  // namespace qrt
