// Codes that drivers return.
#pragma once

#include <cstdint>

namespace qrt {

/// A 32-bit code of the home platform's drivers; the same numbers on every port.
enum class KernelReturn : std::uint32_t {
  noError = 0,
  /// There is no such driver, or no reason is known.
  error = 0xE00002BC,
  notPrivileged = 0xE00002C1,
  badArgument = 0xE00002C2,
  /// The device refused for a reason of its own.
  internalError = 0xE00002C9,
  inputOutput = 0xE00002CA,
  busy = 0xE00002D5,
  noSpace = 0xE00002DB,
  /// There is nothing to exchange.
  cannotWire = 0xE00002DE,
  notFound = 0xE00002F0,
};

/// As error messages show it.
constexpr std::int32_t signedNumber(KernelReturn code) { return static_cast<std::int32_t>(code); }

}  // namespace qrt
