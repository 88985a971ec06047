// The operation that runs a utility of the operating system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;
class TrustedUtilities;

/// Path of the client's application, name of the utility, then the utility's arguments. The
/// utility's output goes to `feedback`, which may be null.
Outcome performOperationExecuteUtilityWithArguments(QRTPrivilegedOperationSetVK2& operationSet,
                                                    const TrustedUtilities& utilities,
                                                    const Platform& platform,
                                                    const Array& arguments,
                                                    FeedbackConnection* feedback);

}  // namespace qrt
