// What checking one signature may cost.
#pragma once

#include <cstdint>

namespace qrt {

/// Runs out only on what no rightful bundle holds: the largest installers have some 16 GiB.
struct SigningBudget {
  /// Bytes that hashes are computed of.
  std::uint64_t bytes = std::uint64_t{32} << 30;
  /// Objects that are looked at.
  std::uint64_t objects = 2'000'000;
  /// Steps through the patterns of resource rules.
  std::uint64_t patternSteps = 2'000'000'000;

  /// False, and nothing is taken, when there is less.
  static bool take(std::uint64_t& from, std::uint64_t amount) {
    if (from < amount) return false;
    from -= amount;
    return true;
  }
};

}  // namespace qrt
