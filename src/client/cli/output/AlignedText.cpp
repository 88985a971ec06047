#include "client/cli/output/AlignedText.h"

#include <algorithm>
#include <cstddef>

namespace qrt {

std::string AlignedText::text() const {
  std::vector<std::size_t> widths;
  for (const auto& cells : lines_) {
    widths.resize(std::max(widths.size(), cells.size()));
    for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
      widths[i] = std::max(widths[i], cells[i].size());
    }
  }

  constexpr std::size_t gap = 2;
  std::string text;
  for (const auto& cells : lines_) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      text += cells[i];
      if (i + 1 < cells.size()) text.append(widths[i] + gap - cells[i].size(), ' ');
    }
    text += '\n';
  }
  return text;
}

}  // namespace qrt
