// The System Management Controller behind its own driver.
#pragma once

#include "platform/SMCExchange.h"

namespace qrt {

class MacosSMCExchange final : public SMCExchange {
 public:
  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override;
};

}  // namespace qrt
