// The door of this folder: the operations that need neither files nor hardware.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;

/// Adds the handlers of settings, signals and utilities. The set outlives the table.
void registerSystemHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
