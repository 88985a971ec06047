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

/// The value of a key as it was received.
struct SMCValueBytes {
  /// Wants at most `size` bytes.
  explicit SMCValueBytes(std::uint8_t wanted) : size(wanted) {}

  std::span<const std::uint8_t> received() const { return {bytes.data(), size}; }

  SMCCode type = 0;
  /// Stays what was wanted when the key could not be read.
  std::uint8_t size;
  std::array<std::uint8_t, 255> bytes{};
};

/// Stateless; thread-safe. The exchange outlives it.
class SMCDriver {
 public:
  explicit SMCDriver(SMCExchange& exchange) : exchange_(exchange) {}

  /// `notFound` for a key that is not there, `internalError` for one that cannot be read: it is
  /// write-only then. Other codes are those of the exchange.
  KernelReturn readSMCKey(SMCCode key, SMCValueBytes& value) const;

  /// `badArgument` unless the key's value takes as many bytes as are given; of those no more than a
  /// record holds are sent. `inputOutput` when the controller refuses.
  /// `log` gets the line about a failed exchange.
  KernelReturn writeSMCKey(SMCCode key, std::span<const std::uint8_t> bytes, Log& log) const;

  /// The key at a place in the controller's list.
  std::optional<SMCCode> keyAtIndex(std::uint32_t index) const;

 private:
  KernelReturn keyInfo(SMCCode key, SMCParameterRecord& info) const;

  SMCExchange& exchange_;
};

}  // namespace qrt
