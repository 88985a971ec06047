#include "system/SystemSettings.h"

#include "platform/KernelSettings.h"
#include "platform/Platform.h"
#include "platform/ProcessTable.h"

namespace qrt {
namespace {

Outcome performOperationModifyKernelsettingWithArguments(const Array& arguments,
                                                         KernelSettings& settings) {
  const auto& name = *arguments[0].string();
  if (name.empty()) return posixError(PosixCode::invalidArgument);
  return posixOutcome(settings.write(name, *arguments[1].number()));
}

Outcome performOperationSignalProcessWithArguments(const Array& arguments,
                                                   ProcessTable& processes) {
  const auto process = static_cast<std::int32_t>(arguments[0].number()->asUInt64());
  const auto signal = static_cast<std::int32_t>(arguments[1].number()->asInt64());
  // Process groups and "everyone" cannot be addressed.
  if (process < 1) return posixError(PosixCode::invalidArgument);
  return posixOutcome(processes.sendSignal(process, signal));
}

}  // namespace

void registerSystemSettingHandlers(HandlerTable& handlers) {
  handlers.add("performOperationModifyKernelsettingWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationModifyKernelsettingWithArguments(arguments,
                                                                         platform.kernelSettings);
               });
  handlers.add("performOperationSignalProcessWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationSignalProcessWithArguments(arguments, platform.processes);
               });
}

}  // namespace qrt
