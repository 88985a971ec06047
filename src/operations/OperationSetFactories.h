// Operation sets by the class name that a property list gives.
#pragma once

#include <string_view>

#include "operations/QRTPrivilegedOperationSet.h"

namespace qrt {

/// Null when no operation set has that class name.
QRTPrivilegedOperationSet::Factory operationSetFactoryForClass(std::string_view className);

}  // namespace qrt
