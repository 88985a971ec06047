// A client's way to the daemon on macOS.
#pragma once

#include "platform/HelperConnection.h"

namespace qrt {

/// Connects to the daemon's Mach service; the address is its name.
class MacosHelperConnector : public HelperConnector {
 public:
  Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) override;
};

}  // namespace qrt
