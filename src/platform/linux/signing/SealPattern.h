// The patterns that say which files of a bundle a signature covers.
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qrt {

/// An extended regular expression, without repetition counts and named character classes. Matching
/// takes a time that is the product of both lengths at most, whatever the pattern is.
class SealPattern {
 public:
  static constexpr std::size_t longestPattern = 512;

  /// None for what is no such expression.
  static std::optional<SealPattern> compile(std::string_view pattern);

  /// Whether any part of the text matches. Takes one from `steps` for each thing that is looked at;
  /// when none are left the answer is no.
  bool matches(std::string_view text, std::uint64_t& steps) const;

 private:
  friend class SealPatternCompiler;

  enum class Action : std::uint8_t { character, split, atBegin, atEnd, done };
  /// `next` follows, and after a split `other` as well.
  struct State {
    Action action = Action::done;
    std::size_t next = 0;
    std::size_t other = 0;
    std::size_t set = 0;
  };

  class Run;

  std::vector<State> states_;
  std::vector<std::bitset<256>> sets_;
  std::size_t start_ = 0;
};

}  // namespace qrt
