// Operations on firmware, storage devices and other hardware.
#pragma once

namespace qrt {

class HandlerTable;
struct Platform;

/// Adds the handlers of "modify-nvram", "erase-diskblocks" and "write-smcvalue". The platform
/// outlives the table.
void registerHardwareHandlers(HandlerTable& handlers, const Platform& platform);

}  // namespace qrt
