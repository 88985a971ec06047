#include "software/VersionNumber.h"

#include <algorithm>
#include <sstream>
#include <string>

namespace qrt {

double versionNumber(std::string_view text) {
  constexpr std::string_view numerals = "0123456789.";
  text.remove_prefix(std::min(text.find_first_of(numerals), text.size()));
  std::string digits(text.substr(0, text.find_first_not_of(numerals)));
  const auto decimalDot = digits.find('.');
  if (decimalDot != std::string::npos) {
    digits.erase(std::remove(digits.begin() + static_cast<std::ptrdiff_t>(decimalDot) + 1,
                             digits.end(), '.'),
                 digits.end());
  }
  std::istringstream stream(digits);
  // Whatever the language of the person at the terminal.
  stream.imbue(std::locale::classic());
  double number = 0;
  stream >> number;
  return number;
}

}  // namespace qrt
