// The driver of the System Management Controller.
#pragma once

#include "platform/KernelReturn.h"
#include "platform/SMCParameterRecord.h"

namespace qrt {

/// Thread-safe.
class SMCExchange {
 public:
  virtual ~SMCExchange() = default;

  /// One complete exchange: opens the driver, asks, closes it again. The code says whether the
  /// driver was reached; what the controller made of the question is in `output.result`. `output`
  /// comes zeroed and stays so when there is no answer. `KernelReturn::error` without a controller.
  virtual KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) = 0;
};

}  // namespace qrt
