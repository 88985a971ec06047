// The door to the operations on settings, processes and utilities of the system.
#pragma once

namespace qrt {

class HandlerTable;
class QRTPrivilegedOperationSetVK2;

/// Adds the handlers of this folder. The set outlives the table.
void registerSystemHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
