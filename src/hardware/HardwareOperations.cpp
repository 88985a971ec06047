#include "hardware/HardwareOperations.h"

#include "hardware/BlockErasure.h"
#include "hardware/SharedSMCController.h"
#include "operations/ArgumentConverters.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/BlockDevice.h"
#include "platform/Nvram.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

Error nvramError(KernelReturn code) {
  return privilegedOperationError(
      9, "It was not possible to modify a NVRAM setting.",
      "The operating system could not change a value in the non-volatile memory of this computer. "
      "The error code is $1$.",
      {std::to_string(signedNumber(code))});
}

CoreFoundationType typeOf(const PropertyValue& value) {
  if (value.string()) return CoreFoundationType::string;
  if (value.data()) return CoreFoundationType::data;
  const auto* number = value.number();
  if (!number) return CoreFoundationType::other;
  return std::holds_alternative<bool>(number->storage()) ? CoreFoundationType::boolean
                                                         : CoreFoundationType::number;
}

std::optional<PropertyValue> valueForNewVariable(const std::string& text) {
  using enum CoreFoundationType;
  for (const auto type : {data, string, number, boolean}) {
    if (auto value = copyCoreFoundationValueWithType(type, text)) return value;
  }
  return std::nullopt;
}

}  // namespace

Outcome performOperationModifyNvramWithArguments(const Platform& platform, const Array& arguments,
                                                 FeedbackConnection*) {
  const auto [name, text] = unpack<std::string, std::string>(arguments);
  if (name.empty()) return posixError(PosixCode::invalidArgument);
  const auto options = platform.nvram.options();
  if (!options) return nvramError(options.error());
  if (!*options) return success;

  const auto current = (*options)->value(name);
  if (!current) return posixError(current.error());
  const auto value = *current ? copyCoreFoundationValueWithType(typeOf(**current), text)
                              : valueForNewVariable(text);
  if (!value) return posixError(PosixCode::invalidArgument);
  const auto set = (*options)->set(name, *value);
  if (set != KernelReturn::noError) return nvramError(set);
  return success;
}

Outcome performOperationEraseDiskblocksWithArguments(const Platform& platform,
                                                     const Array& arguments, FeedbackConnection*) {
  if (arguments.size() != 2) return posixError(PosixCode::invalidArgument);
  const auto [name, blockCount] = unpack<std::string, std::uint64_t>(arguments);
  if (blockCount == 0) return success;
  const auto device = openBlockDevice(platform.root, name);
  if (!device) return posixError(device.error());
  return posixOutcome(eraseBlocks(**device, blockCount));
}

Outcome performOperationWriteSmcvalueWithArguments(SharedSMCController& controllers,
                                                   const Platform& platform,
                                                   const Array& arguments) {
  if (arguments.size() != 2) return posixError(PosixCode::invalidArgument);
  const auto [key, bytes] = unpack<std::string, Data>(arguments);
  const auto* controller = controllers.controller();
  if (!controller) {
    return privilegedOperationError(
        20, "The System Management Controller could not be accessed.",
        "This is either not an Apple-branded computer or a technical problem occurred while trying "
        "to find the SMC.");
  }
  if (!controller->writeRawBytes(bytes.data(), bytes.size(), key, platform.log)) {
    return privilegedOperationError(
        21, "Write access to the System Management Controller failed.",
        "An unknown problem occurred while trying to update a value of the SMC.");
  }
  return success;
}

}  // namespace qrt
