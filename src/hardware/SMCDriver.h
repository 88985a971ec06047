// Reading and writing keys of the System Management Controller, byte by byte.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "hardware/SMCCode.h"
#include "platform/KernelReturn.h"

namespace qrt {

class Log;
class SMCExchange;
struct SMCParameterRecord;

/// The bytes of a key's value.
struct SMCValueBytes {
  /// For at most `wanted` bytes.
  explicit SMCValueBytes(std::uint8_t wanted) : size(wanted) {}

  std::span<const std::uint8_t> received() const { return {bytes.data(), size}; }

  SMCCode type = 0;
  /// Stays the requested size if the key cannot be read.
  std::uint8_t size;
  std::array<std::uint8_t, 255> bytes{};
};

/// Stateless; thread-safe. The exchange outlives it.
class SMCDriver {
 public:
  explicit SMCDriver(SMCExchange& exchange) : exchange_(exchange) {}

  /// Returns `notFound` for a missing key and `internalError` for a write-only one. Other codes are
  /// those of the exchange.
  KernelReturn readSMCKey(SMCCode key, SMCValueBytes& value) const;

  /// Returns `badArgument` unless the key's value is as long as `bytes`, and `inputOutput` if the
  /// controller refuses. Sends no more bytes than a record holds. Logs a failed exchange to `log`.
  KernelReturn writeSMCKey(SMCCode key, std::span<const std::uint8_t> bytes, Log& log) const;

  /// The key at a place in the controller's list.
  std::optional<SMCCode> keyAtIndex(std::uint32_t index) const;

 private:
  KernelReturn keyInfo(SMCCode key, SMCParameterRecord& info) const;

  SMCExchange& exchange_;
};

}  // namespace qrt
