// Operations that change settings of the whole system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Adds the handlers of "modify-kernelsetting" and "signal-process".
void registerSystemSettingHandlers(HandlerTable& handlers);

}  // namespace qrt
