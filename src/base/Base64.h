// Base64: data as text in an alphabet of 64 characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// With padding, without line breaks.
std::string base64TextFromData(const std::uint8_t* bytes, std::size_t size);

/// Blanks are ignored everywhere. Nothing when the text is not Base64 or its padding is incomplete.
std::optional<Data> dataFromBase64Text(std::string_view text);

}  // namespace qrt
