// This process.
#pragma once

#include "platform/SelfProcess.h"

namespace qrt {

class PosixSelfProcess : public SelfProcess {
 public:
  std::uint32_t realUserID() const override;
  void prepareForService() override;
  [[noreturn]] void exit(int status) override;
};

}  // namespace qrt
