// The driver of the System Management Controller.
#pragma once

#include "platform/KernelReturn.h"
#include "platform/SMCParameterRecord.h"

namespace qrt {

/// Thread-safe.
class SMCExchange {
 public:
  virtual ~SMCExchange() = default;

  /// Does one complete exchange: opens the driver, sends `input`, closes the driver. The code says
  /// whether the driver was reached; `output.result` has the controller's answer. The caller passes
  /// a zeroed `output`, which does not change when there is no answer. `KernelReturn::error` on a
  /// computer without a controller.
  virtual KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) = 0;
};

}  // namespace qrt
