// Operations on firmware, storage devices and other hardware.
#pragma once

namespace qrt {

class HandlerTable;
class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Adds the handlers of "modify-nvram", "create-installmedia", "erase-diskblocks" and
/// "write-smcvalue". All requests have one controller, which is made from `shared`.
/// Platform and set outlive the table.
void registerHardwareHandlers(HandlerTable& handlers, const Platform& shared,
                              QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
