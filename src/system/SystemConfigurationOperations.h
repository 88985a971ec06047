// The operations that change the configuration of the system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Name of the client, identifier of the preferences, key, and the new value as the text of a
/// property list. The empty text removes the value.
HandlerFunction performOperationModifySysconfWithArguments;

/// Name of the client, identifier of a network service, whether it shall use IPv6.
HandlerFunction performOperationEnableIpvsixWithArguments;

}  // namespace qrt
