// The door to the operations on installed software.
#pragma once

namespace qrt {

class HandlerTable;
class QRTPrivilegedOperationSetVK2;

/// Adds the handlers of this folder. The set outlives the table.
void registerSoftwareHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
