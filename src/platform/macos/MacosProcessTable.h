// Processes on macOS.
#pragma once

#include "platform/ProcessTable.h"

namespace qrt {

class MacosProcessTable : public ProcessTable {
 public:
  /// None as well when a process was started while the table was asked for.
  std::optional<std::vector<ProcessRecord>> processes() override;
  std::size_t keptNameLength() const override;
  PosixCode sendSignal(std::int32_t process, std::int32_t signal) override;
};

}  // namespace qrt
