#include "client/cli/output/FoldedText.h"

#include <algorithm>

namespace qrt {
namespace {

/// Less room than this for the last column is too little to read in.
constexpr std::size_t leastRoom = 24;
constexpr std::size_t deepestIndent = 6;
/// They separate columns.
constexpr std::string_view blanks = "  ";

/// In characters, without the sequences that change the colour.
std::size_t widthOf(std::string_view text) {
  std::size_t width = 0;
  bool isInSequence = false;
  for (const char c : text) {
    const bool isContinuation = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    if (c == '\x1B') isInSequence = true;
    if (!isInSequence && !isContinuation) ++width;
    if (c == 'm') isInSequence = false;
  }
  return width;
}

std::size_t afterBlanks(std::string_view text, std::size_t from) {
  return std::min(text.find_first_not_of(' ', from), text.size());
}

std::size_t longestWord(std::string_view words) {
  std::size_t longest = 0;
  for (auto at = afterBlanks(words, 0); at < words.size();) {
    const auto end = std::min(words.find(' ', at), words.size());
    longest = std::max(longest, widthOf(words.substr(at, end - at)));
    at = afterBlanks(words, end);
  }
  return longest;
}

/// Where the last column begins: after two blanks, or at the first character.
std::size_t lastColumnOf(std::string_view line) {
  const auto first = afterBlanks(line, 0);
  const auto gap = line.substr(0, line.find_last_not_of(' ') + 1).rfind(blanks);
  return gap == std::string_view::npos || gap < first ? first : gap + blanks.size();
}

class Folder {
 public:
  explicit Folder(std::size_t width) : width_(width) {}

  void addLine(std::string_view line) {
    const auto column = lastColumnOf(line);
    const auto indent = widthOf(line.substr(0, column));
    if (widthOf(line) <= width_) {
      text_ += line;
    } else if (indent + std::max(leastRoom, longestWord(line.substr(column))) <= width_) {
      text_ += line.substr(0, column);
      used_ = indent;
      addWords(line.substr(column), indent);
    } else {
      addNarrowLine(line, afterBlanks(line, 0), column);
    }
    text_ += '\n';
  }

  std::string text() && { return std::move(text_); }

 private:
  /// The last column on lines of its own.
  void addNarrowLine(std::string_view line, std::size_t first, std::size_t column) {
    const auto indent = std::min(first, deepestIndent);
    text_.append(indent, ' ');
    used_ = indent;
    addWords(line.substr(first, column - first), indent + blanks.size());
    const bool hasColumns = column > first;
    const auto below = indent + (hasColumns ? 2 * blanks.size() : 0);
    if (hasColumns) breakLine(below);
    addWords(line.substr(column), below);
  }

  void addWords(std::string_view words, std::size_t indent) {
    bool isFirst = true;
    for (auto at = afterBlanks(words, 0); at < words.size();) {
      const auto end = std::min(words.find(' ', at), words.size());
      const auto word = words.substr(at, end - at);
      const bool fits = used_ + (isFirst ? 0 : 1) + widthOf(word) <= width_;
      if (!isFirst && fits) text_ += ' ', ++used_;
      if (!isFirst && !fits) breakLine(indent);
      text_ += word;
      used_ += widthOf(word);
      isFirst = false;
      at = afterBlanks(words, end);
    }
  }

  void breakLine(std::size_t indent) {
    text_ += '\n';
    text_.append(indent, ' ');
    used_ = indent;
  }

  const std::size_t width_;
  /// Of the current line.
  std::size_t used_ = 0;
  std::string text_;
};

}  // namespace

std::string folded(std::string_view text, std::size_t width) {
  Folder folder(width);
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    folder.addLine(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return std::move(folder).text();
}

}  // namespace qrt
