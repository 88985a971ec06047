// The door to the operations on firmware, storage devices and other hardware.
#pragma once

namespace qrt {

class HandlerTable;
struct Platform;

/// Adds the handlers of "modify-nvram", "erase-diskblocks" and "write-smcvalue". All requests share
/// one controller, which is made from `shared`. The platform outlives the table.
void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared);

}  // namespace qrt
