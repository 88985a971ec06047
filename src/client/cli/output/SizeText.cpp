#include "client/cli/output/SizeText.h"

#include <fmt/format.h>

#include <cstddef>
#include <string_view>

namespace qrt {

std::string sizeText(std::uint64_t bytes) {
  constexpr std::string_view units[] = {"B", "kB", "MB", "GB", "TB", "PB", "EB"};
  auto value = static_cast<double>(bytes);
  std::size_t unit = 0;
  // A larger value would be rounded to four digits.
  for (; value >= 999.5; ++unit) value /= 1000;
  const int decimals = unit > 0 && value < 9.95 ? 1 : 0;
  return fmt::format("{:.{}f} {}", value, decimals, units[unit]);
}

}  // namespace qrt
