// Operations on firmware, storage devices and other hardware.
#pragma once

namespace qrt {

class HandlerTable;
class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Adds the handlers of "modify-nvram", "create-installmedia", "erase-diskblocks" and
/// "write-smcvalue". Platform and set outlive the table.
void registerHardwareHandlers(HandlerTable& handlers, const Platform& platform,
                              QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
