// Names that the daemon and its clients share.
#pragma once

#include <string_view>

namespace qrt {

/// The service: bundle identifier, Mach service, launchd label and stem of the systemd units.
inline constexpr std::string_view helperServiceIdentifier =
    "com.vantor.system.privilegedhelper-vk2";

/// Where the packaged socket unit listens on Linux.
inline constexpr std::string_view defaultSocketPath =
    "/run/com.vantor.system.privilegedhelper-vk2/socket";

/// The first of the two elements of metadata that may precede a request's arguments.
inline constexpr std::string_view metadataMarker = "!QRTMETA!";
inline constexpr std::string_view authorizationPromptKey = "QRTAuthorizationPrompt";
inline constexpr std::string_view authorizationIconKey = "QRTAuthorizationIcon";

/// In the user information of the error for a program that a signal killed: the signal's number.
inline constexpr std::string_view programSignalKey = "QRTProgramSignal";

/// Keys of feedback messages.
inline constexpr std::string_view progressFractionKey = "ProgressFraction";
inline constexpr std::string_view outputDataKey = "OutputData";
inline constexpr std::string_view errorDataKey = "ErrorData";
inline constexpr std::string_view fileObjectInfoKey = "FileObjectInfo";
inline constexpr std::string_view finalFeedbackMessageKey = "FinalFeedbackMessage";

/// Keys of the record of a file-system object.
namespace file_object_key {
inline constexpr std::string_view mode = "Mode";
inline constexpr std::string_view modificationDate = "ModificationDate";
inline constexpr std::string_view path = "Path";
inline constexpr std::string_view size = "Size";
inline constexpr std::string_view type = "Type";
}  // namespace file_object_key

/// The remote interfaces as D-Bus names.
namespace wire {
inline constexpr const char* helperPath = "/com/vantor/QRTPrivilegedHelper";
inline constexpr const char* helperInterface = "com.vantor.QRTPrivilegedHelperProtocol";
inline constexpr const char* authorityInterface = "com.vantor.QRTAuthorizationAuthority";
inline constexpr const char* feedbackPath = "/com/vantor/QRTPrivilegedOperationFeedback";
inline constexpr const char* feedbackInterface =
    "com.vantor.QRTPrivilegedOperationFeedbackProtocol";
inline constexpr const char* feedbackMethod = "processPrivilegedOperationFeedback";
inline constexpr const char* controlPath = "/com/vantor/QRTOperationControl";
inline constexpr const char* controlInterface = "com.vantor.QRTOperationControlProtocol";
inline constexpr const char* stopMethod = "stopOperation";
/// The reply to "Hello".
inline constexpr const char* peerName = ":1.0";
}  // namespace wire

}  // namespace qrt
