#include "base/CaseInsensitive.h"

#include <cstdint>
#include <exception>
#include <locale>

#include "base/Utf8.h"

namespace qrt {
namespace {

/// A locale with the case of all characters, or of the ASCII letters if the system has no such one.
std::locale caseLocale() {
  for (const char* name : {"C.UTF-8", "en_US.UTF-8"}) {
    try {
      return std::locale(name);
    } catch (const std::exception&) {
      // The system lacks it; try the next.
    }
  }
  return std::locale::classic();
}

/// Removes the first character of a text and returns it in lower case.
char32_t takeLowerCase(std::string_view& text) {
  static const std::locale locale = caseLocale();
  const auto character = firstUtf8Character(text);
  if (character.length == 0) {
    constexpr char32_t endOfCharacters = 0x110000;
    const auto byte = static_cast<std::uint8_t>(text.front());
    text.remove_prefix(1);
    return endOfCharacters + byte;
  }
  text.remove_prefix(character.length);
  const auto& cases = std::use_facet<std::ctype<wchar_t>>(locale);
  return static_cast<char32_t>(cases.tolower(static_cast<wchar_t>(character.codePoint)));
}

}  // namespace

std::weak_ordering compareIgnoringCase(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    const auto left = takeLowerCase(a);
    const auto right = takeLowerCase(b);
    if (left != right) return left <=> right;
  }
  return a.empty() ? (b.empty() ? std::weak_ordering::equivalent : std::weak_ordering::less)
                   : std::weak_ordering::greater;
}

}  // namespace qrt
