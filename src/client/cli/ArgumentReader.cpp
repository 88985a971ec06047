#include "client/cli/ArgumentReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "client/cli/AccessControlArgument.h"
#include "client/cli/SignalNames.h"
#include "platform/CallerProcess.h"

namespace qrt {
namespace {

/// More does not fit into a message to the daemon.
constexpr std::size_t largestContents = 16 << 20;

template <class Integer>
std::optional<Integer> integerIn(std::string_view text) {
  const bool isNegative = text.starts_with('-');
  const auto digits = text.substr(isNegative ? 1 : 0);
  const bool isHexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
  const auto magnitude = digits.substr(isHexadecimal ? 2 : 0);
  if (magnitude.starts_with('-')) return std::nullopt;
  const auto plain = fmt::format("{}{}", isNegative ? "-" : "", magnitude);
  Integer value{};
  const char* const end = plain.data() + plain.size();
  const auto [stop, error] = std::from_chars(plain.data(), end, value, isHexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<Number> numberIn(std::string_view text) {
  if (const auto value = integerIn<std::int64_t>(text)) return *value;
  if (const auto value = integerIn<std::uint64_t>(text)) return *value;
  return std::nullopt;
}

/// What stands behind `word` in "word=value word=value ...".
std::optional<std::string_view> valueOfWord(std::string_view words, std::string_view word) {
  while (!words.empty()) {
    const auto entry = words.substr(0, words.find(' '));
    words.remove_prefix(std::min(entry.size() + 1, words.size()));
    const auto equals = entry.find('=');
    if (entry.substr(0, equals) == word) return entry.substr(equals + 1);
  }
  return std::nullopt;
}

UsageResult<Data> contentsOfFile(const std::string& path) {
  std::ifstream file;
  if (path != "-") file.open(path, std::ios::binary);
  std::istream& stream = path == "-" ? std::cin : file;
  Data contents(largestContents + 1);
  stream.read(reinterpret_cast<char*>(contents.data()),
              static_cast<std::streamsize>(contents.size()));
  contents.resize(static_cast<std::size_t>(stream.gcount()));
  if (!stream.eof()) {
    return UsageError{contents.size() > largestContents
                          ? fmt::format("{} is larger than 16 MiB", path)
                          : fmt::format("{} cannot be read", path)};
  }
  return contents;
}

UsageError unsuitable(const ArgumentDescription& description, const std::string& word,
                      std::string_view expected) {
  return {fmt::format("{}: '{}' is not {}", description.name, word, expected)};
}

UsageResult<PropertyValue> readWord(const ArgumentDescription& description, const std::string& word,
                                    const WordContext& context) {
  switch (description.form) {
    case ArgumentForm::path: {
      auto path = absolutePath(word, context.caller);
      if (!path) return path.error();
      return PropertyValue(std::move(*path));
    }
    case ArgumentForm::choice:
      if (const auto value = valueOfWord(description.detail, word)) return PropertyValue(*value);
      return unsuitable(description, word, "one of the words that it can be");
    case ArgumentForm::bits:
      if (const auto value = valueOfWord(description.detail, word)) {
        return PropertyValue(*numberIn(*value));
      }
      return unsuitable(description, word, "one of the words that it can be");
    case ArgumentForm::number:
      if (const auto value = numberIn(word)) return PropertyValue(*value);
      return unsuitable(description, word, "a whole number of 64 bits");
    case ArgumentForm::signal:
      if (const auto value = signalNumber(word)) return PropertyValue(*value);
      if (const auto value = numberIn(word)) return PropertyValue(*value);
      return unsuitable(description, word, "a signal");
    case ArgumentForm::onOff:
      if (word == "on" || word == "off") return PropertyValue(word == "on");
      return unsuitable(description, word, "on or off");
    case ArgumentForm::fileContents: {
      auto contents = contentsOfFile(word);
      if (!contents) return contents.error();
      return PropertyValue(std::move(*contents));
    }
    case ArgumentForm::accessControlList: {
      auto list = accessControlListIn(word, context.platform);
      if (!list) return list.error();
      return PropertyValue(std::move(*list));
    }
    default:
      return PropertyValue(word);
  }
}

UsageResult<PropertyValue> sumOfBits(const ArgumentDescription& description,
                                     const std::vector<std::string>& words,
                                     const WordContext& context) {
  std::int64_t sum = 0;
  for (const auto& word : words) {
    const auto bit = readWord(description, word, context);
    if (!bit) return bit.error();
    sum |= bit->number()->asInt64();
  }
  return PropertyValue(sum);
}

/// The values of an argument that is sent exactly once, whatever was written for it.
std::optional<UsageResult<PropertyValue>> singleValue(const ArgumentDescription& description,
                                                      const std::vector<std::string>& words,
                                                      const WordContext& context) {
  switch (description.form) {
    case ArgumentForm::constant:
      return PropertyValue(description.detail);
    case ArgumentForm::ownProcess:
      return PropertyValue(context.caller.processIdentifier());
    case ArgumentForm::textFlag:
      return PropertyValue(words.empty() ? "0" : "1");
    case ArgumentForm::numberFlag:
      return PropertyValue(!words.empty());
    case ArgumentForm::bits:
      return sumOfBits(description, words, context);
    default:
      return std::nullopt;
  }
}

/// Appends the values of one argument.
std::optional<UsageError> read(const ArgumentDescription& description,
                               std::vector<std::string> words, const WordContext& context,
                               Array& values) {
  if (auto value = singleValue(description, words, context)) {
    if (!*value) return value->error();
    values.push_back(std::move(**value));
    return std::nullopt;
  }
  if (words.empty() && description.occurrence == Occurrence::optional) {
    words.emplace_back(description.detail);
  }
  for (const auto& word : words) {
    auto value = readWord(description, word, context);
    if (!value) return value.error();
    if (description.form == ArgumentForm::taggedText) values.emplace_back(description.detail);
    values.push_back(std::move(*value));
  }
  return std::nullopt;
}

}  // namespace

UsageResult<Array> readArguments(const std::vector<ArgumentDescription>& descriptions,
                                 const GivenWords& words, const WordContext& context) {
  Array values;
  for (std::size_t i = 0; i < descriptions.size(); ++i) {
    if (const auto error = read(descriptions[i], words[i], context, values)) return *error;
  }
  return values;
}

UsageResult<std::string> absolutePath(const std::string& path, const CallerProcess& caller) {
  if (path.empty() || path.starts_with('/')) return path;
  auto folder = caller.currentFolder();
  if (!folder) {
    return UsageError{fmt::format("'{}' needs a current folder, and there is none", path)};
  }
  if (!folder->ends_with('/')) folder->push_back('/');
  return *folder + path;
}

}  // namespace qrt
