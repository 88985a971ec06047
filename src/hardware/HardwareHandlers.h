// The door to the operations on firmware, storage devices and the System Management Controller.
#pragma once

namespace qrt {

class HandlerTable;
struct Platform;

/// Adds the handlers of this folder. `shared` makes the controller that all requests share; it
/// outlives the table.
void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared);

}  // namespace qrt
