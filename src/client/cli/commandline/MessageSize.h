// How large a request may be.
#pragma once

#include <cstddef>

#include "base/PropertyValue.h"

namespace qrt {

/// In bytes: a message of 16 MiB without its header, the authorization and the two texts of the
/// dialog.
inline constexpr std::size_t largestArguments = 31 << 19;

/// The largest number of bytes that the value takes in a message.
std::size_t sizeInMessage(const PropertyValue& value);

}  // namespace qrt
