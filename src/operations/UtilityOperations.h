// The operation that runs a utility of the operating system.
#pragma once

#include "operations/HandlerTable.h"
#include "operations/TrustedUtilities.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Adds the handler of "execute-utility". Platform and set outlive the table.
void registerUtilityHandlers(HandlerTable& handlers, const Platform& platform,
                             QRTPrivilegedOperationSetVK2& operationSet,
                             TrustedUtilities utilities = TrustedUtilities());

}  // namespace qrt
