// The operation that makes install media of the operating system.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

class QRTPrivilegedOperationSetVK2;

/// Path of an installer application, path of the volume that becomes the medium: its mount point as
/// the system writes it. Runs the installer's own tool and forwards its output to `feedback`, which
/// may be null. An installer that the maker did not sign is code 18, a path that is no mount point
/// code 19; else the result is the tool's.
Outcome performOperationCreateInstallmediaWithArguments(QRTPrivilegedOperationSetVK2& operationSet,
                                                        const Platform& platform,
                                                        const Array& arguments,
                                                        FeedbackConnection* feedback);

}  // namespace qrt
