#include "client/cli/commandline/CommandSplitter.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qrt {
namespace {

constexpr std::string_view operators = ";&|<>()";
/// What a backslash quotes between double quotes. Before anything else it is itself.
constexpr std::string_view quotableInDoubleQuotes = "$`\"\\";

bool isBlank(char c) { return c == ' ' || c == '\t'; }

class Splitter {
 public:
  explicit Splitter(std::string_view text) : rest_(text) {}

  Result<std::vector<SplitCommand>, SplitProblem> split() {
    while (!rest_.empty() && !problem_) step(rest_.front());
    if (problem_) return std::move(*problem_);
    endCommand();
    return std::move(commands_);
  }

 private:
  void step(char c) {
    if (c == '\0') return fail("A zero byte cannot be part of a word");
    if (c == '\n') {
      take();
      endCommand();
    } else if (isBlank(c)) {
      take();
      endWord();
    } else if (c == '#' && !word_) {
      rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
    } else if (operators.find(c) != std::string_view::npos) {
      fail(std::string("'") + c + "' is an operator of sh; put quotes around it");
    } else {
      takePartOfWord(c);
    }
  }

  void takePartOfWord(char c) {
    const auto line = line_;
    if (c == '\\') {
      take();
      if (rest_.empty()) return fail("A backslash has nothing to quote", line, true);
      if (rest_.front() == '\n') return skip();  // Joins two lines, and does not begin a word.
      word().push_back(take());
    } else if (c == '\'' || c == '"') {
      take();
      word();
      takeQuoted(c, line);
    } else {
      word().push_back(take());
    }
  }

  /// Up to the closing quote.
  void takeQuoted(char quote, std::size_t firstLine) {
    while (!rest_.empty() && rest_.front() != quote) {
      const char c = take();
      const bool isEscape = quote == '"' && c == '\\' && !rest_.empty();
      if (isEscape && rest_.front() == '\n') {
        skip();
      } else if (isEscape && quotableInDoubleQuotes.find(rest_.front()) != std::string_view::npos) {
        word().push_back(take());
      } else {
        word().push_back(c);
      }
    }
    if (rest_.empty()) return fail("The quotation does not end", firstLine, true);
    skip();
  }

  char take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    if (c == '\n') ++line_;
    if (c == '\0') fail("A zero byte cannot be part of a word");
    return c;
  }
  void skip() { take(); }

  std::string& word() {
    if (!word_) word_.emplace();
    if (current_.words.empty() && word_->empty()) current_.line = line_;
    return *word_;
  }

  void endWord() {
    if (!word_) return;
    current_.words.push_back(std::move(*word_));
    word_.reset();
  }

  void endCommand() {
    endWord();
    if (!current_.words.empty()) commands_.push_back(std::exchange(current_, {}));
  }

  /// The first problem counts.
  void fail(std::string text) { fail(std::move(text), line_, false); }
  void fail(std::string text, std::size_t line, bool isIncomplete) {
    if (!problem_) problem_ = SplitProblem{line, std::move(text), isIncomplete};
  }

  std::string_view rest_;
  std::size_t line_ = 1;
  /// Empty text is a word too, when it was quoted.
  std::optional<std::string> word_;
  SplitCommand current_{};
  std::vector<SplitCommand> commands_;
  std::optional<SplitProblem> problem_;
};

}  // namespace

Result<std::vector<SplitCommand>, SplitProblem> splitCommands(std::string_view text) {
  return Splitter(text).split();
}

}  // namespace qrt
