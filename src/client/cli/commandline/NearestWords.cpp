#include "client/cli/commandline/NearestWords.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace qrt {
namespace {

/// A shorter word is contained in many names.
constexpr std::size_t shortestPart = 3;
constexpr std::size_t mostProposals = 4;

/// How many letters must be added, removed or replaced to make one word of the other.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    auto diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const auto replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// Small for a name that is near. A score above `most` is not exact: the word can be very long.
std::size_t scoreOf(std::string_view word, std::string_view name, std::size_t most) {
  const bool isPart = word.size() >= shortestPart && name.find(word) != std::string_view::npos;
  if (isPart) return 1;
  const auto [shorter, longer] = std::minmax({word.size(), name.size()});
  return longer - shorter > most ? longer - shorter : distance(word, name);
}

}  // namespace

std::string proposalFor(std::string_view word, std::span<const std::string_view> names) {
  auto best = std::max<std::size_t>(word.size() / 3, 1);
  std::vector<std::string_view> nearest;
  for (const auto name : names) {
    const auto score = scoreOf(word, name, best);
    if (score > best) continue;
    if (score < best) nearest.clear();
    best = score;
    nearest.push_back(name);
  }
  if (nearest.empty()) return "";
  if (nearest.size() == 1) return fmt::format("; did you mean {}?", nearest.front());
  nearest.resize(std::min(nearest.size(), mostProposals));
  return fmt::format("; did you mean one of: {}?", fmt::join(nearest, ", "));
}

}  // namespace qrt
