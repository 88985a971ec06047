// What the bytes of a key of the System Management Controller stand for.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/PropertyValue.h"
#include "hardware/SMCCode.h"

namespace qrt {

/// Stands for every value of a type that nobody knows.
inline constexpr const char* smcUnknownTypeMarker = "<decoding is currently not implemented>";

/// The value: a number, a string, or a dictionary for structured types. None when a type of fixed
/// size comes with another number of bytes, or the bytes are no text where they should be.
std::optional<PropertyValue> decodedSMCValue(SMCCode type, std::span<const std::uint8_t> bytes);

}  // namespace qrt
