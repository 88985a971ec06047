// The values of the System Management Controller's keys.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/PropertyValue.h"
#include "hardware/SMCCode.h"

namespace qrt {

/// The value of each key of an unknown type.
inline constexpr const char* smcUnknownTypeMarker = "<decoding is currently not implemented>";

/// A number, a string, or a dictionary for structured types. Nothing if a type of fixed size has
/// another number of bytes, or a text is not valid.
std::optional<PropertyValue> decodedSMCValue(SMCCode type, std::span<const std::uint8_t> bytes);

}  // namespace qrt
