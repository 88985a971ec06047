#include "base/Printable.h"

#include <algorithm>

#include "base/Utf8.h"

namespace qrt {
namespace {

bool isPlain(char c) { return c >= 0x20 && c < 0x7f; }

void appendEscaped(std::string& line, std::string_view bytes) {
  constexpr const char* digits = "0123456789abcdef";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    line.append({'\\', 'x', digits[byte >> 4], digits[byte & 0xf]});
  }
}

}  // namespace

bool isPrintable(char32_t character) {
  const auto isBetween = [&](char32_t first, char32_t last) {
    return character >= first && character <= last;
  };
  const bool isControl = character < 0x20 || isBetween(0x7F, 0x9F);
  const bool isOfDirection = character == 0x61C || isBetween(0x200E, 0x200F) ||
                             isBetween(0x202A, 0x202E) || isBetween(0x2066, 0x2069);
  const bool endsLine = isBetween(0x2028, 0x2029);
  return !isControl && !isOfDirection && !endsLine;
}

std::string printable(std::string_view text, std::size_t limit) {
  const auto special = std::find_if_not(text.begin(), text.end(), isPlain);
  const auto plain = std::min(static_cast<std::size_t>(special - text.begin()), limit);
  std::string line(text.substr(0, plain));
  text.remove_prefix(plain);
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    const auto bytes = text.substr(0, std::max<std::size_t>(character.length, 1));
    const auto before = line.size();
    if (character.length == 0 || !isPrintable(character.codePoint)) {
      appendEscaped(line, bytes);
    } else {
      line.append(bytes);
    }
    if (line.size() > limit) {
      line.resize(before);
      break;
    }
    text.remove_prefix(bytes.size());
  }
  return line;
}

}  // namespace qrt
