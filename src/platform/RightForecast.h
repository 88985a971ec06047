// Whether this process would get a right.
#pragma once

#include <string>

#include "platform/DeclaredRights.h"

namespace qrt {

enum class RightForecast {
  /// Without a question.
  granted,
  /// After a user has entered a password.
  needsPassword,
  refused,
  /// The authority does not answer.
  unknown,
};

/// Of a process of a user other than root. Asks the system's authority, which shows no dialog and
/// changes nothing; gives up after some seconds. `rule` is the right's own definition, for a system
/// whose authority cannot be reached.
RightForecast forecastOfRight(const std::string& right, RightRule rule);

}  // namespace qrt
