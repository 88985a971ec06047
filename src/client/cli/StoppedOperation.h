// What the user learns about an operation that was stopped.
#pragma once

#include <string_view>

#include "base/Error.h"

namespace qrt {

/// Says what became of the operation's work: "stopped; what was deleted stays deleted".
Error stoppedError(std::string_view identifier);

}  // namespace qrt
