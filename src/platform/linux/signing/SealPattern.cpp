#include "platform/linux/signing/SealPattern.h"

#include <string>

namespace qrt {

/// Builds the automaton from its end: every part is told what follows it.
class SealPatternCompiler {
 public:
  explicit SealPatternCompiler(std::string_view text) : text_(text) {}

  std::optional<SealPattern> compile() {
    if (text_.size() > SealPattern::longestPattern) return std::nullopt;
    const auto whole = parseAlternatives();
    if (!whole || position_ != text_.size()) return std::nullopt;
    const auto done = add({Action::done});
    pattern_.start_ = build(*whole, done);
    return std::move(pattern_);
  }

 private:
  using Action = SealPattern::Action;
  enum class Kind { nothing, single, sequence, alternatives, optional, star, plus };
  struct Node {
    Kind kind = Kind::nothing;
    /// Of a single state.
    Action action = Action::done;
    std::size_t set = 0;
    std::size_t left = 0;
    std::size_t right = 0;
  };

  std::size_t add(const SealPattern::State& state) {
    pattern_.states_.push_back(state);
    return pattern_.states_.size() - 1;
  }
  std::size_t node(const Node& node) {
    nodes_.push_back(node);
    return nodes_.size() - 1;
  }

  bool atEnd() const { return position_ == text_.size(); }
  bool take(char wanted) {
    if (atEnd() || text_[position_] != wanted) return false;
    ++position_;
    return true;
  }

  std::optional<std::size_t> parseAlternatives() {
    auto left = parseSequence();
    while (left && take('|')) {
      const auto right = parseSequence();
      if (!right) return std::nullopt;
      left = node({.kind = Kind::alternatives, .left = *left, .right = *right});
    }
    return left;
  }

  std::optional<std::size_t> parseSequence() {
    auto left = node({});
    while (!atEnd() && text_[position_] != '|' && text_[position_] != ')') {
      const auto right = parseRepeated();
      if (!right) return std::nullopt;
      left = node({.kind = Kind::sequence, .left = left, .right = *right});
    }
    return left;
  }

  std::optional<std::size_t> parseRepeated() {
    auto repeated = parseAtom();
    while (repeated && !atEnd()) {
      Kind kind;
      if (take('*')) {
        kind = Kind::star;
      } else if (take('+')) {
        kind = Kind::plus;
      } else if (take('?')) {
        kind = Kind::optional;
      } else {
        break;
      }
      repeated = node({.kind = kind, .left = *repeated});
    }
    return repeated;
  }

  std::optional<std::size_t> parseAtom() {
    constexpr std::string_view neverBeginsAtom = "*+?{";
    const char first = text_[position_++];
    if (neverBeginsAtom.find(first) != std::string_view::npos) return std::nullopt;
    switch (first) {
      case '(': {
        const auto inner = parseAlternatives();
        return inner && take(')') ? inner : std::nullopt;
      }
      case '[':
        return parseSet();
      case '^':
        return node({.kind = Kind::single, .action = Action::atBegin});
      case '$':
        return node({.kind = Kind::single, .action = Action::atEnd});
      case '.':
        return character(~std::bitset<256>());
      case '\\':
        if (atEnd()) return std::nullopt;
        return character(only(text_[position_++]));
      default:
        return character(only(first));
    }
  }

  std::optional<std::size_t> parseSet() {
    std::bitset<256> set;
    const bool isNegated = take('^');
    for (bool isFirst = true; isFirst || !take(']'); isFirst = false) {
      if (atEnd()) return std::nullopt;
      const auto low = static_cast<unsigned char>(text_[position_++]);
      const bool isNamedClass =
          low == '[' && !atEnd() &&
          std::string_view(":.=").find(text_[position_]) != std::string_view::npos;
      if (isNamedClass) return std::nullopt;
      auto high = low;
      const auto rest = text_.substr(position_);
      if (rest.size() >= 2 && rest[0] == '-' && rest[1] != ']') {
        high = static_cast<unsigned char>(rest[1]);
        position_ += 2;
      }
      for (unsigned each = low; each <= high; ++each) set.set(each);
    }
    return character(isNegated ? ~set : set);
  }

  static std::bitset<256> only(char character) {
    return std::bitset<256>().set(static_cast<unsigned char>(character));
  }

  std::size_t character(const std::bitset<256>& set) {
    pattern_.sets_.push_back(set);
    return node(
        {.kind = Kind::single, .action = Action::character, .set = pattern_.sets_.size() - 1});
  }

  /// The state where that part begins, with `next` behind it.
  std::size_t build(std::size_t index, std::size_t next) {
    const auto part = nodes_[index];
    switch (part.kind) {
      case Kind::nothing:
        return next;
      case Kind::single:
        return add({part.action, next, 0, part.set});
      case Kind::sequence:
        return build(part.left, build(part.right, next));
      case Kind::alternatives: {
        const auto right = build(part.right, next);
        return add({Action::split, build(part.left, next), right});
      }
      case Kind::optional:
        return add({Action::split, build(part.left, next), next});
      case Kind::star:
      case Kind::plus: {
        const auto again = add({Action::split, 0, next});
        const auto first = build(part.left, again);
        pattern_.states_[again].next = first;
        return part.kind == Kind::star ? again : first;
      }
    }
    return next;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::vector<Node> nodes_;
  SealPattern pattern_;
};

std::optional<SealPattern> SealPattern::compile(std::string_view pattern) {
  return SealPatternCompiler(pattern).compile();
}

/// All ways through the automaton at once.
class SealPattern::Run {
 public:
  Run(const SealPattern& pattern, std::string_view text, std::uint64_t& steps)
      : pattern_(pattern), text_(text), steps_(steps), reached_(pattern.states_.size(), 0) {}

  bool finds() {
    for (position_ = 0;; ++position_) {
      ++round_;
      for (const auto state : waiting_) enter(state);
      enter(pattern_.start_);
      waiting_.clear();
      if (isDone_) return true;
      if (position_ == text_.size() || steps_ == 0) return false;
      takeCharacter();
    }
  }

 private:
  /// Everything that can be reached from a state without a character.
  void enter(std::size_t first) {
    std::vector<std::size_t> open{first};
    while (!open.empty() && steps_ > 0) {
      const auto index = open.back();
      open.pop_back();
      if (reached_[index] == round_) continue;
      reached_[index] = round_;
      --steps_;
      const auto& state = pattern_.states_[index];
      switch (state.action) {
        case Action::done:
          isDone_ = true;
          break;
        case Action::character:
          here_.push_back(index);
          break;
        case Action::split:
          open.push_back(state.next);
          open.push_back(state.other);
          break;
        case Action::atBegin:
          if (position_ == 0) open.push_back(state.next);
          break;
        case Action::atEnd:
          if (position_ == text_.size()) open.push_back(state.next);
          break;
      }
    }
  }

  void takeCharacter() {
    const auto character = static_cast<unsigned char>(text_[position_]);
    for (const auto index : here_) {
      const auto& state = pattern_.states_[index];
      if (pattern_.sets_[state.set][character]) waiting_.push_back(state.next);
    }
    here_.clear();
  }

  const SealPattern& pattern_;
  std::string_view text_;
  std::uint64_t& steps_;
  std::size_t position_ = 0;
  std::size_t round_ = 0;
  /// The round in which a state was reached last.
  std::vector<std::size_t> reached_;
  /// States that want the character at the position, and those behind the one before it.
  std::vector<std::size_t> here_, waiting_;
  bool isDone_ = false;
};

bool SealPattern::matches(std::string_view text, std::uint64_t& steps) const {
  return Run(*this, text, steps).finds();
}

}  // namespace qrt
