// Fixed-point numbers of the System Management Controller.
#pragma once

#include <cstdint>
#include <optional>

#include "hardware/SMCCode.h"

namespace qrt {

/// True for "fp" (unsigned) and "sp" (signed) followed by any two characters.
constexpr bool isFixedPointCode(SMCCode type) {
  return type >> 16 == smcCode("fp..") >> 16 || type >> 16 == smcCode("sp..") >> 16;
}
constexpr bool isSignedFixedPointCode(SMCCode type) { return type >> 16 == smcCode("sp..") >> 16; }

/// 2 to the power of the type's fraction bits; nothing unless it is a fixed-point type.
std::optional<double> fixedPointDivisor(SMCCode type);

/// The low 16 bits of `value` times the divisor, truncated toward zero to 32 bits (saturating; NaN
/// is 0). In host byte order.
std::uint16_t encodedFixedPoint(double value, double divisor);

}  // namespace qrt
