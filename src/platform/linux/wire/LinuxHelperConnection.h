// A client's side of the wire on Linux.
#pragma once

#include <memory>
#include <string>

#include "platform/HelperConnection.h"

namespace qrt {

/// Connects to the socket at an absolute path.
class LinuxHelperConnector : public HelperConnector {
 public:
  Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) override;
};

}  // namespace qrt
