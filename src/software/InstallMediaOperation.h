// Making install media of the operating system.
#pragma once

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

class FeedbackConnection;
class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Path of an installer application, path of the volume that becomes the medium: its mount point as
/// the system writes it. Runs the installer's own tool, whose output goes to `feedbackConnection`,
/// which may be null. An installer that is not the maker's is code 18, a path that is no mount
/// point code 19; else the result is the tool's.
Outcome performOperationCreateInstallmediaWithArguments(const Array& arguments,
                                                        FeedbackConnection* feedbackConnection,
                                                        const Platform& platform,
                                                        QRTPrivilegedOperationSetVK2& operationSet);

}  // namespace qrt
