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

/// What a number of that type is divided by: 2 to the power of the type's fraction bits. None when
/// the type is not one of the fixed-point types.
std::optional<double> fixedPointDivisor(SMCCode type);

/// `value` times the divisor, truncated toward zero to 32 bits (saturating; NaN is 0), of which the
/// low half remains. In host byte order.
std::uint16_t encodedFixedPoint(double value, double divisor);

}  // namespace qrt
