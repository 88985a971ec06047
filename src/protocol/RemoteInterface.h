// Name of an interface that one side of a connection calls and the other implements.
#pragma once

#include <string_view>

namespace qrt {

/// A transport finds its own form of the interface under these names.
struct RemoteInterface {
  std::string_view protocol;
  std::string_view method;

  friend bool operator==(const RemoteInterface&, const RemoteInterface&) = default;
};

inline constexpr RemoteInterface feedbackRemoteInterface{"QRTPrivilegedOperationFeedbackProtocol",
                                                         "processPrivilegedOperationFeedback:"};

}  // namespace qrt
