#include "client/cli/output/ShownName.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "base/Printable.h"

namespace qrt {
namespace {

bool isPlain(char c) {
  const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return isLetter || (c >= '0' && c <= '9') ||
         std::string_view("/._-+:=,@%").find(c) != std::string_view::npos;
}

bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

}  // namespace

std::string shortened(std::string_view text) {
  constexpr std::ptrdiff_t most = 60, first = 20, last = 37;
  const auto count = std::count_if(text.begin(), text.end(), beginsCharacter);
  if (count <= most) return std::string(text);
  std::string result;
  std::ptrdiff_t character = 0;
  for (const char c : text) {
    if (beginsCharacter(c) && ++character == first + 1) result += "...";
    if (character <= first || character > count - last) result += c;
  }
  return result;
}

std::string shownName(std::string_view name) {
  if (!name.empty() && std::all_of(name.begin(), name.end(), isPlain)) return shortened(name);
  std::string text;
  for (const char c : name) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return fmt::format("\"{}\"", shortened(printable(text)));
}

}  // namespace qrt
