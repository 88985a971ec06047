// The door of this folder: the operations that need neither files nor hardware.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Adds the handlers of settings, signals and utilities. Platform and set outlive the table.
void registerOperationHandlers(HandlerTable& handlers, const Platform& platform,
                               QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
