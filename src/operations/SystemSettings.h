// Operations that change settings of the whole system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

struct Platform;

/// Adds the handlers of "modify-kernelsetting" and "signal-process". The platform outlives the
/// table.
void registerSystemSettingHandlers(HandlerTable& handlers, const Platform& platform);

}  // namespace qrt
