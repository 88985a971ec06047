// Operations that change the configuration of the system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Adds the handlers of "modify-sysconf" and "enable-ipvsix".
void registerSystemConfigurationHandlers(HandlerTable& handlers);

}  // namespace qrt
