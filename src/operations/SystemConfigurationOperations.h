// Operations that change the configuration of the system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

struct Platform;

/// Adds the handlers of "modify-sysconf" and "enable-ipvsix". The platform outlives the table.
void registerSystemConfigurationHandlers(HandlerTable& handlers, const Platform& platform);

}  // namespace qrt
