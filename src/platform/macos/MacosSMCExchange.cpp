#include "platform/SMCExchange.h"

#include <mach/mach_init.h>

#include "base/Result.h"
#include "platform/macos/IOObject.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

constexpr const char* driverName = "AppleSMC";
constexpr std::uint32_t connectionType = 1;

/// The driver's functions.
enum Selector : std::uint32_t { openClient = 0, closeClient = 1, exchangeRecords = 2 };

/// Calls a function without arguments and results.
kern_return_t call(const IOConnection& connection, Selector selector) {
  return IOConnectCallScalarMethod(connection.get(), selector, nullptr, 0, nullptr, nullptr);
}

kern_return_t exchange(const IOConnection& connection, const SMCParameterRecord& input,
                       SMCParameterRecord& output) {
  const auto opened = call(connection, openClient);
  if (opened != kIOReturnSuccess) return opened;
  std::size_t outputSize = sizeof output;
  const auto exchanged = IOConnectCallStructMethod(connection.get(), exchangeRecords, &input,
                                                   sizeof input, &output, &outputSize);
  call(connection, closeClient);
  return exchanged;
}

Result<IOObject, KernelReturn> driver() {
  const auto matching = IOServiceMatching(driverName);
  if (!matching) return KernelReturn::error;
  IOObject drivers;
  // This releases the dictionary.
  const auto found =
      IOServiceGetMatchingServices(kIOMasterPortDefault, matching, drivers.receiver());
  if (found != kIOReturnSuccess) return kernelReturn(found);
  IOObject first(IOIteratorNext(drivers.get()));
  if (!first) return KernelReturn::error;
  return first;
}

Result<IOConnection, KernelReturn> openDriver() {
  const auto service = driver();
  if (!service) return service.error();
  IOConnection connection;
  const auto opened =
      IOServiceOpen(service->get(), mach_task_self(), connectionType, connection.receiver());
  if (opened != kIOReturnSuccess) return kernelReturn(opened);
  return connection;
}

/// Calls the driver of the System Management Controller.
class MacosSMCExchange final : public SMCExchange {
 public:
  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override {
    const auto connection = openDriver();
    if (!connection) return connection.error();
    return kernelReturn(exchange(*connection, input, output));
  }
};

}  // namespace

std::unique_ptr<SMCExchange> makeSMCExchange() { return std::make_unique<MacosSMCExchange>(); }

}  // namespace qrt
