// The doors of all subsystems.
#pragma once

namespace qrt {

class QRTPrivilegedOperationSet;
struct Platform;

/// Adds the handler of every operation. The platform makes what requests share; it outlives the
/// set.
void registerAllHandlers(QRTPrivilegedOperationSet& operationSet, const Platform& platform);

}  // namespace qrt
