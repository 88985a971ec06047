// From a text of commands to their words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/Result.h"

namespace qrt {

struct SplitCommand {
  /// Where it begins; the first line is 1.
  std::size_t line;
  /// At least one.
  std::vector<std::string> words;
};

struct SplitProblem {
  std::size_t line;
  /// A sentence without a full stop.
  std::string text;
  /// Whether more text can complete the last command.
  bool isIncomplete;
};

/// One command a line, with the words that sh would make of it: blanks separate words, ' and "
/// quote, \ quotes the next character and joins lines, # begins a comment. Nothing is expanded, so
/// "$HOME" and "*" are themselves. The operators of sh (; & | < > and parentheses) must be quoted:
/// "delete-files /a; nop" would not mean what it does in sh. A text with a zero byte is a problem.
Result<std::vector<SplitCommand>, SplitProblem> splitCommands(std::string_view text);

}  // namespace qrt
