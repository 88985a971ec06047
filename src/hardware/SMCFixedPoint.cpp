#include "hardware/SMCFixedPoint.h"

#include <algorithm>
#include <limits>

#include "base/Number.h"

namespace qrt {
namespace {

std::optional<unsigned> hexDigit(SMCCode character) {
  character &= 0xFF;
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return std::nullopt;
}

}  // namespace

std::optional<double> fixedPointDivisor(SMCCode type) {
  if (!isFixedPointCode(type)) return std::nullopt;
  const auto integerBits = hexDigit(type >> 8);
  const auto fractionBits = hexDigit(type);
  if (!integerBits || !fractionBits) return std::nullopt;
  // A sign takes one of the sixteen bits. No digit means sixteen integer bits, so an unsigned type
  // always has a fraction.
  const unsigned bits = isSignedFixedPointCode(type) ? 15 : 16;
  if (*integerBits + *fractionBits != bits) return std::nullopt;
  return static_cast<double>(1u << *fractionBits);
}

std::uint16_t encodedFixedPoint(double value, double divisor) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto scaled =
      std::clamp<std::int64_t>(Number(value * divisor).asInt64(), Limits::min(), Limits::max());
  return static_cast<std::uint16_t>(scaled);
}

}  // namespace qrt
