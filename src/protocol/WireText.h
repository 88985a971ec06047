// Strings on the wire: valid UTF-8 that keeps every byte of a file name.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// A byte that is not part of valid UTF-8 becomes the character U+10FF00 + byte. So does each byte
/// of a character of that range in the text itself, so that
/// `decodeWireText(encodeWireText(bytes)) == bytes`. The exception is the zero byte, which no file
/// name holds: it is encoded but never decoded.
std::string encodeWireText(std::string_view bytes);

/// Whether `encodeWireText` would change nothing.
bool isWireText(std::string_view bytes);

/// U+10FF00 to U+10FF7F stay characters: no text gains a "/" or a zero byte after it was checked.
std::string decodeWireText(std::string_view text);

}  // namespace qrt
