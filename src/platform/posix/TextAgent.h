// The agent that asks for passwords on a terminal.
#pragma once

#include <memory>

#include "platform/CallerProcess.h"

namespace qrt {

/// Each port has its own.
std::unique_ptr<CallerProcess::TextAgent> makeTextAgent();

}  // namespace qrt
