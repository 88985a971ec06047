// The name of an interface that one side of a connection calls and the other implements.
#pragma once

#include <string_view>

namespace qrt {

/// Each port maps these names to its own form of the interface.
struct RemoteInterface {
  std::string_view protocol;
  std::string_view method;

  friend bool operator==(const RemoteInterface&, const RemoteInterface&) = default;
};

inline constexpr RemoteInterface feedbackRemoteInterface{"QRTPrivilegedOperationFeedbackProtocol",
                                                         "processPrivilegedOperationFeedback:"};

}  // namespace qrt
