#include "client/cli/output/SizeText.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cstddef>
#include <string_view>

namespace qrt {

std::string sizeText(std::uint64_t bytes) {
  constexpr unsigned step = 1000;
  if (bytes < step) return fmt::format(FMT_COMPILE("{} B"), bytes);
  constexpr std::string_view units[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
  auto value = static_cast<double>(bytes) / step;
  std::size_t unit = 0;
  // A larger value would be rounded to four digits.
  for (; value >= 999.5; ++unit) value /= step;
  const int decimals = value < 9.95 ? 1 : 0;
  return fmt::format("{:.{}f} {}", value, decimals, units[unit]);
}

std::string countText(std::uint64_t count) {
  auto text = std::to_string(count);
  for (auto at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
  return text;
}

}  // namespace qrt
