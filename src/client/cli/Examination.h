// What `doctor` finds.
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

/// Who decides, and what the system has or lacks.
std::vector<Finding> examine(const AuthorityInUse& authority,
                             const std::vector<SystemFeature>& features);

bool hasProblem(const std::vector<Finding>& findings);

Array recordsOf(const std::vector<Finding>& findings);
/// A line each.
std::string textOf(const std::vector<Finding>& findings, bool isColored);

}  // namespace qrt
