#include "system/KernelOperations.h"

#include "operations/Arguments.h"
#include "platform/KernelSettings.h"
#include "platform/Platform.h"
#include "platform/ProcessTable.h"

namespace qrt {

Outcome performOperationModifyKernelsettingWithArguments(const Platform& platform,
                                                         const Array& arguments,
                                                         FeedbackConnection*) {
  const auto [name, value] = unpack<std::string, Number>(arguments);
  if (name.empty()) return posixError(PosixCode::invalidArgument);
  return posixOutcome(platform.kernelSettings.write(name, value));
}

Outcome performOperationSignalProcessWithArguments(const Platform& platform, const Array& arguments,
                                                   FeedbackConnection*) {
  const auto [processNumber, signalNumber] = unpack<Number, Number>(arguments);
  const auto process = static_cast<std::int32_t>(processNumber.asUInt64());
  const auto signal = static_cast<std::int32_t>(signalNumber.asInt64());
  // Process groups and "every process" cannot be addressed.
  if (process < 1) return posixError(PosixCode::invalidArgument);
  return posixOutcome(platform.processes.sendSignal(process, signal));
}

}  // namespace qrt
