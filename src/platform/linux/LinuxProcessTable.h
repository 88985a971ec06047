// Processes on Linux.
#pragma once

#include <string>

#include "platform/ProcessTable.h"

namespace qrt {

/// Reads "/proc", which lists processes and not their threads. Processes that end meanwhile are
/// left out.
class LinuxProcessTable : public ProcessTable {
 public:
  explicit LinuxProcessTable(const std::string& root) : folder_(root + "/proc") {}

  std::optional<std::vector<ProcessRecord>> processes() override;
  std::size_t keptNameLength() const override { return 15; }
  PosixCode sendSignal(std::int32_t process, std::int32_t signal) override;

 private:
  const std::string folder_;
};

}  // namespace qrt
