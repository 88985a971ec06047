#include "platform/posix/propertylists/TextPropertyListReader.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "base/Base64.h"
#include "platform/posix/propertylists/NextStepEncoding.h"
#include "platform/posix/propertylists/PropertyListBuilder.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListScalars.h"
#include "platform/posix/propertylists/Utf16.h"

namespace qrt {
namespace {

using Problem = PropertyListProblem;
template <class T>
using Read = Result<T, Problem>;

constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr std::string_view unquotedCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!#$%&*+-./:?@^_|~";

/// Characters after an omitted string, which counts as the empty string.
constexpr std::string_view afterOmittedKey = "=";
constexpr std::string_view afterOmittedValue = ";,)}";

/// Letters after a backslash and the characters that they mean; another character means itself.
constexpr std::string_view escapeLetters = "abfnrtv";
constexpr std::string_view escapedCharacters = "\a\b\f\n\r\t\v";

template <class T>
Read<PropertyValue> valueFrom(std::optional<T> value) {
  if (value) return PropertyValue(*std::move(value));
  return Problem{"malformed data between < and >"};
}

/// Reads the content between "<*" and ">": a letter for the kind, then the value, maybe in quotes.
Read<PropertyValue> typedValue(std::string_view content) {
  const char kind = content.empty() ? '\0' : content.front();
  content.remove_prefix(std::min<std::size_t>(content.size(), 1));
  if (content.size() >= 2 && content.front() == '"' && content.back() == '"') {
    content = content.substr(1, content.size() - 2);
  }
  switch (kind) {
    case 'I':
      return valueFrom(integerFromText(content));
    case 'R':
      return valueFrom(realFromText(content));
    case 'D':
      return valueFrom(dateFromZonedText(content));
    case 'B':
      break;
    default:
      return Problem{"a typed value of an unknown kind"};
  }
  if (content == "Y") return PropertyValue(true);
  if (content == "N") return PropertyValue(false);
  return Problem{"a boolean that is neither Y nor N"};
}

class TextReader {
 public:
  explicit TextReader(std::string_view text) : text_(text) {}

  Result<PropertyValue> read() {
    auto problem = readRoot();
    if (!problem && !atEnd()) problem = Problem{"unexpected text after the value"};
    if (problem) return unreadablePropertyList(*problem, "line " + std::to_string(line()));
    return *builder_.finish();
  }

 private:
  PropertyListCheck readRoot() {
    skipBlanks();
    if (text_.empty()) return Problem{"there is no value"};
    // A text of comments and blanks is an empty table.
    auto problem = atEnd() || isStringTable() ? readStringTable() : readValue();
    skipBlanks();
    return problem;
  }

  /// A string at the top is the whole list, or the first key of a string table.
  bool isStringTable() {
    const std::size_t begin = position_;
    const bool startsWithString = bool(readString(afterOmittedKey));
    skipBlanks();
    const bool pairs = startsWithString && (at('=') || at(';'));
    position_ = begin;
    return pairs;
  }

  PropertyListCheck readStringTable() {
    if (auto problem = builder_.beginDictionary()) return problem;
    while (!atEnd()) {
      if (auto problem = readPair()) return problem;
      skipBlanks();
    }
    return builder_.end();
  }

  /// Recursive; the builder limits the depth.
  PropertyListCheck readValue() {
    if (take('{')) return readDictionary();
    if (take('(')) return readArray();
    if (take('<')) return add(readBracketed());
    return add(readString(afterOmittedValue));
  }

  PropertyListCheck readDictionary() {
    if (auto problem = builder_.beginDictionary()) return problem;
    for (skipBlanks(); !take('}'); skipBlanks()) {
      if (auto problem = readPair()) return problem;
    }
    return builder_.end();
  }

  PropertyListCheck readPair() {
    auto key = readString(afterOmittedKey);
    if (!key) return key.error();
    if (auto problem = builder_.key(*key)) return problem;
    skipBlanks();
    if (take(';')) return builder_.add(std::move(*key));
    if (!take('=')) return Problem{"a key without = or ;"};
    skipBlanks();
    if (auto problem = readValue()) return problem;
    skipBlanks();
    if (!take(';') && !at('}')) return Problem{"a value without ; in a dictionary"};
    return {};
  }

  PropertyListCheck readArray() {
    if (auto problem = builder_.beginArray()) return problem;
    for (skipBlanks(); !take(')'); skipBlanks()) {
      if (auto problem = readValue()) return problem;
      skipBlanks();
      if (!take(',') && !at(')')) return Problem{"a value without , or ) in an array"};
    }
    return builder_.end();
  }

  /// Data or a typed value; its first bracket was taken.
  Read<PropertyValue> readBracketed() {
    const std::size_t end = text_.find('>', position_);
    if (end == std::string_view::npos) return Problem{"data without end"};
    auto content = text_.substr(position_, end - position_);
    position_ = end + 1;
    if (content.starts_with('*')) return typedValue(content.substr(1));
    if (!content.starts_with('[')) return valueFrom(dataFromHexText(content));
    if (!content.ends_with(']')) return Problem{"data without end"};
    return valueFrom(dataFromBase64Text(content.substr(1, content.size() - 2)));
  }

  Read<std::string> readString(std::string_view afterOmitted) {
    if (at('"') || at('\'')) return readQuotedString();
    const std::size_t end =
        std::min(text_.find_first_not_of(unquotedCharacters, position_), text_.size());
    const bool isOmitted = end == position_;
    if (isOmitted && (atEnd() || afterOmitted.find(text_[position_]) == std::string_view::npos)) {
      return Problem{"an unexpected character or end"};
    }
    const auto text = text_.substr(position_, end - position_);
    position_ = end;
    return std::string(text);
  }

  Read<std::string> readQuotedString() {
    const char stops[] = {text_[position_], '\\'};
    const std::size_t begin = position_++;
    std::string result;
    while (true) {
      const std::size_t stop = text_.find_first_of({stops, sizeof stops}, position_);
      if (stop == std::string_view::npos) break;
      result.append(text_, position_, stop - position_);
      position_ = stop + 1;
      if (text_[stop] == stops[0]) return result;
      if (atEnd()) break;
      if (auto problem = readEscape(result)) return *problem;
    }
    position_ = begin;
    return Problem{"a string without end"};
  }

  /// Reads the rest of an escape, after its backslash. The text has not ended.
  PropertyListCheck readEscape(std::string& result) {
    if (const auto byte = takeNumber(8, 3)) {
      appendUtf8(result, characterFromNextStep(static_cast<std::uint8_t>(*byte)));
      return {};
    }
    if (take('U') || take('u')) return readUnicodeEscape(result);
    const char letter = text_[position_++];
    const std::size_t known = escapeLetters.find(letter);
    result.push_back(known == std::string_view::npos ? letter : escapedCharacters[known]);
    return {};
  }

  PropertyListCheck readUnicodeEscape(std::string& result) {
    constexpr std::size_t digits = 4;
    auto character = takeNumber(16, digits);
    if (!character) return Problem{"\\U or \\u without a number"};
    if (isHighSurrogate(*character)) {
      const bool pair = take('\\') && (take('U') || take('u'));
      const auto low = pair ? takeNumber(16, digits) : std::nullopt;
      if (!low || !isLowSurrogate(*low)) return Problem{"a surrogate without its partner"};
      character = characterFromSurrogates(*character, *low);
    }
    if (isLowSurrogate(*character)) return Problem{"a surrogate without its partner"};
    appendUtf8(result, *character);
    return {};
  }

  /// Reads a number of at most `most` digits; no value when the next character is no digit.
  std::optional<char32_t> takeNumber(int base, std::size_t most) {
    const auto digits = text_.substr(position_, most);
    std::uint32_t number = 0;
    const auto [stop, problem] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    if (problem != std::errc()) return std::nullopt;
    position_ += static_cast<std::size_t>(stop - digits.data());
    return number;
  }

  template <class T>
  PropertyListCheck add(Read<T> value) {
    if (!value) return value.error();
    return builder_.add(std::move(*value));
  }

  /// Also skips comments. A comment without an end extends to the end of the text.
  void skipBlanks() {
    while (true) {
      position_ = std::min(text_.find_first_not_of(blanks, position_), text_.size());
      const auto rest = text_.substr(position_);
      if (rest.starts_with("//")) {
        position_ = std::min(text_.find_first_of("\r\n", position_), text_.size());
      } else if (rest.starts_with("/*")) {
        const std::size_t end = text_.find("*/", position_ + 2);
        position_ = end == std::string_view::npos ? text_.size() : end + 2;
      } else {
        return;
      }
    }
  }

  bool atEnd() const { return position_ == text_.size(); }
  bool at(char character) const { return !atEnd() && text_[position_] == character; }

  bool take(char character) {
    const bool there = at(character);
    if (there) ++position_;
    return there;
  }

  std::ptrdiff_t line() const {
    return 1 +
           std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(position_), '\n');
  }

  std::string_view text_;
  std::size_t position_ = 0;
  PropertyListBuilder builder_;
};

}  // namespace

Result<PropertyValue> readTextPropertyList(std::string_view text) {
  return TextReader(text).read();
}

}  // namespace qrt
