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

/// An object that is referred to more than once is read each time, and counts each time: a small
/// file can stand for a very large list, which is refused before anything is made of it. Sets are
/// read as arrays; null, UID and URL are errors.
Result<PropertyValue> readBinaryPropertyList(std::span<const std::uint8_t> bytes);

}  // namespace qrt
