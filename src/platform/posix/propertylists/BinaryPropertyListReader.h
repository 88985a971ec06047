// Reads property lists in binary form.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// What a list of this form begins with.
inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

/// An object with several references is read and counted once for each. A small file can so
/// describe a very large list: its size is measured first, and a list over the limits is refused
/// before it takes memory. Sets are read as arrays; null, UID and URL are errors.
Result<PropertyValue> readBinaryPropertyList(std::span<const std::uint8_t> bytes);

}  // namespace qrt
