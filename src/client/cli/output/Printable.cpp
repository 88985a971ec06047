#include "client/cli/output/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "base/Utf8.h"

namespace qrt {
namespace {

bool isControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    const auto bytes = text.substr(0, std::max<std::size_t>(character.length, 1));
    text.remove_prefix(bytes.size());
    if (character.length != 0 && !isControl(character.codePoint)) {
      result += bytes;
      continue;
    }
    for (const char byte : bytes) {
      fmt::format_to(std::back_inserter(result), "\\x{:02x}", static_cast<unsigned char>(byte));
    }
  }
  return result;
}

}  // namespace qrt
