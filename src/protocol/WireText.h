// Strings on the wire: always valid UTF-8, yet every byte of a file name survives the journey.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// A byte that is not part of valid UTF-8 becomes the character U+10FF00 + byte. A text that really
/// holds a character of that range has the character's bytes sent the same way, so that
/// `decodeWireText(encodeWireText(bytes)) == bytes` for all bytes but zero, which no name holds and
/// which is never decoded.
std::string encodeWireText(std::string_view bytes);

/// Only bytes that encoding produces are made: U+10FF00 to U+10FF7F stay characters, so that no
/// text turns into a "/" or an early end behind the back of whoever looked at it.
std::string decodeWireText(std::string_view text);

}  // namespace qrt
