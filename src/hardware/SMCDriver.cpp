#include "hardware/SMCDriver.h"

#include <algorithm>

#include "platform/Log.h"
#include "platform/SMCExchange.h"

namespace qrt {
namespace {

KernelReturn resultOfReading(const SMCParameterRecord& output) {
  switch (output.result) {
    case smc_result::success:
      return KernelReturn::noError;
    case smc_result::keyNotFound:
      return KernelReturn::notFound;
    default:
      return KernelReturn::internalError;
  }
}

}  // namespace

KernelReturn SMCDriver::keyInfo(SMCCode key, SMCParameterRecord& info) const {
  SMCParameterRecord input;
  input.command = smc_command::keyInfo;
  input.key = key;
  const auto exchanged = exchange_.callSMC(input, info);
  return exchanged == KernelReturn::noError ? resultOfReading(info) : exchanged;
}

KernelReturn SMCDriver::readSMCKey(SMCCode key, SMCValueBytes& value) const {
  if (key == 0) return KernelReturn::cannotWire;
  SMCParameterRecord info;
  if (const auto got = keyInfo(key, info); got != KernelReturn::noError) return got;
  value.type = info.dataType;

  SMCParameterRecord input;
  input.command = smc_command::readKey;
  input.key = key;
  input.dataSize = info.dataSize;
  SMCParameterRecord output;
  const auto exchanged = exchange_.callSMC(input, output);
  if (const auto read = resultOfReading(output); read != KernelReturn::noError) return read;

  value.size = static_cast<std::uint8_t>(std::min<std::uint32_t>(value.size, info.dataSize));
  // The rest of a value that is larger than a record is zeros.
  std::copy_n(output.bytes.begin(), std::min<std::size_t>(value.size, output.bytes.size()),
              value.bytes.begin());
  return exchanged;
}

KernelReturn SMCDriver::writeSMCKey(SMCCode key, std::span<const std::uint8_t> bytes,
                                    Log& log) const {
  if (key == 0) return KernelReturn::cannotWire;
  SMCParameterRecord info;
  if (const auto got = keyInfo(key, info); got != KernelReturn::noError) return got;
  if (info.dataSize != bytes.size()) return KernelReturn::badArgument;

  SMCParameterRecord input;
  input.command = smc_command::writeKey;
  input.key = key;
  input.dataSize = info.dataSize;
  std::copy_n(bytes.begin(), std::min(bytes.size(), input.bytes.size()), input.bytes.begin());
  SMCParameterRecord output;
  const auto exchanged = exchange_.callSMC(input, output);
  if (exchanged != KernelReturn::noError) {
    const auto code = static_cast<std::uint32_t>(exchanged);
    log.error("SMC write failure: system 0x%x subsystem 0x%x error code 0x%x.", code >> 26,
              code >> 14 & 0xFFF, code & 0x3FFF);
  }
  return output.result == smc_result::success ? exchanged : KernelReturn::inputOutput;
}

std::optional<SMCCode> SMCDriver::keyAtIndex(std::uint32_t index) const {
  SMCParameterRecord input;
  input.command = smc_command::keyAtIndex;
  input.index = index;
  SMCParameterRecord output;
  const auto exchanged = exchange_.callSMC(input, output);
  if (exchanged != KernelReturn::noError || output.result != smc_result::success) {
    return std::nullopt;
  }
  return output.key;
}

}  // namespace qrt
