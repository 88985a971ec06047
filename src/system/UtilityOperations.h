// The operation that runs a utility of the operating system.
#pragma once

#include "operations/HandlerTable.h"
#include "system/TrustedUtilities.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;

/// Adds the handler of "execute-utility". The set outlives the table.
void registerUtilityHandlers(HandlerTable& handlers, QRTPrivilegedOperationSetVK2& operationSet,
                             TrustedUtilities utilities = TrustedUtilities());

}  // namespace qrt
