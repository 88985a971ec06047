// The calling process, its signals and its folder.
#pragma once

#include "platform/CallerProcess.h"

namespace qrt {

class PosixCallerProcess : public CallerProcess {
 public:
  std::int32_t processIdentifier() const override;
  PosixResult<std::string> currentFolder() const override;
  std::unique_ptr<InterruptionGuard> catchInterruptions(std::function<void()> action) override;
  std::unique_ptr<TextAgent> startTextAgent() override;
};

}  // namespace qrt
