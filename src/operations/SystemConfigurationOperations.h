// Operations that change the configuration of the system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class Log;
class PropertyLists;
class SystemConfiguration;

/// Adds the handlers of "modify-sysconf" and "enable-ipvsix". The facilities
/// outlive the table.
void registerSystemConfigurationHandlers(HandlerTable& handlers,
                                         SystemConfiguration& systemConfiguration,
                                         PropertyLists& propertyLists, Log& log);

}  // namespace qrt
