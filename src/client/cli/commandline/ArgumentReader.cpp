#include "client/cli/commandline/ArgumentReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Path.h"
#include "client/cli/commandline/AccessControlArgument.h"
#include "client/cli/commandline/CallerPaths.h"
#include "client/cli/commandline/MessageSize.h"
#include "client/cli/commandline/SignalNames.h"
#include "operations/UtilityPaths.h"
#include "platform/CallerProcess.h"
#include "platform/Platform.h"

namespace qrt {
namespace {

constexpr const char* tooLarge = "{} larger than 15.5 MiB";

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

UsageError unsuitable(const ArgumentDescription& description, const std::string& word,
                      std::string_view expected) {
  return {fmt::format("{}: '{}' is not {}", description.name, word, expected)};
}

UsageResult<std::string_view> chosenValue(const ArgumentDescription& description,
                                          const std::string& word) {
  std::string allowed;
  for (const auto& choice : choicesOf(description)) {
    if (choice.word == word) return choice.value;
    allowed += fmt::format("{}{}", allowed.empty() ? "" : ", ", choice.word);
  }
  return unsuitable(description, word, "one of: " + allowed);
}

UsageResult<std::string> utilityName(const ArgumentDescription& description,
                                     const std::string& word) {
  std::vector<std::string_view> names;
  for (const auto path : utilityPaths()) names.push_back(path::lastComponent(path));
  if (std::find(names.begin(), names.end(), word) != names.end()) return word;
  return unsuitable(description, word, fmt::format("one of: {}", fmt::join(names, ", ")));
}

/// Quotes set four digits apart from a number.
std::optional<Number> fourCharactersIn(std::string_view word) {
  const bool isQuoted = word.size() == 6 && word.front() == '\'' && word.back() == '\'';
  if (isQuoted) {
    word = word.substr(1, 4);
  } else if (const auto value = numberIn(word)) {
    return value;
  }
  const bool isPlain =
      std::all_of(word.begin(), word.end(), [](char c) { return c >= ' ' && c <= '~'; });
  if (word.size() != 4 || !isPlain) return std::nullopt;
  std::uint32_t code = 0;
  for (const char c : word) code = code << 8 | static_cast<std::uint8_t>(c);
  return Number(std::int64_t{code});
}

UsageResult<PropertyValue> readWord(const ArgumentDescription& description, const std::string& word,
                                    const WordContext& context) {
  const auto wrapped = [](auto result) -> UsageResult<PropertyValue> {
    if (!result) return result.error();
    return PropertyValue(std::move(*result));
  };
  switch (description.form) {
    case ArgumentForm::path:
      return wrapped(absolutePath(word, context.caller));
    case ArgumentForm::utility:
      return wrapped(utilityName(description, word));
    case ArgumentForm::utilityWord:
      return wrapped(wordForProgram(word, context.caller, context.platform.files));
    case ArgumentForm::fileContents:
      return wrapped(contentsOfFile(word));
    case ArgumentForm::accessControlList:
      return wrapped(accessControlListIn(word, context.platform));
    case ArgumentForm::choice:
      return wrapped(chosenValue(description, word));
    case ArgumentForm::bits:
    case ArgumentForm::onOff: {
      const auto value = chosenValue(description, word);
      if (!value) return value.error();
      const auto number = *numberIn(*value);
      return description.form == ArgumentForm::onOff ? PropertyValue(number.asBool())
                                                     : PropertyValue(number);
    }
    case ArgumentForm::number:
      if (const auto value = numberIn(word)) return PropertyValue(*value);
      return unsuitable(description, word, "a whole number of 64 bits");
    case ArgumentForm::count:
      if (const auto value = numberIn(word); value && !word.starts_with('-')) {
        return PropertyValue(*value);
      }
      return unsuitable(description, word, "a whole number of 0 or more");
    case ArgumentForm::fourCharacters:
      if (const auto value = fourCharactersIn(word)) return PropertyValue(*value);
      return unsuitable(description, word, "four characters such as TEXT, or a number");
    case ArgumentForm::signal:
      if (const auto value = signalNumber(word)) return PropertyValue(*value);
      if (const auto value = numberIn(word)) return PropertyValue(*value);
      return unsuitable(
          description, word,
          fmt::format("a signal number or one of: {}", fmt::join(signalNames(), ", ")));
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

/// The value of an argument that is sent exactly once, however often the user wrote it; nothing for
/// other arguments.
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
  if (words.empty() && description.occurrence == Occurrence::oneOrMore) {
    return UsageError{fmt::format("{} is required", description.name)};
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

/// The description with a form that does not depend on other arguments.
ArgumentDescription settled(std::span<const ArgumentDescription> descriptions, std::size_t index,
                            const GivenWords& words) {
  auto description = descriptions[index];
  if (description.form != ArgumentForm::pathWithOption) return description;
  const auto option =
      std::find_if(descriptions.begin(), descriptions.end(),
                   [&](const auto& other) { return other.name == description.detail; });
  const auto at = static_cast<std::size_t>(option - descriptions.begin());
  description.form = words[at].empty() ? ArgumentForm::text : ArgumentForm::path;
  return description;
}

/// The paths of a list are sent in as many requests as they need.
bool isTooLarge(std::span<const ArgumentDescription> descriptions, const Array& values) {
  const bool isList = std::any_of(descriptions.begin(), descriptions.end(), isPathList);
  return !isList && sizeInMessage(values) > largestArguments;
}

}  // namespace

UsageResult<Data> contentsOfFile(const std::string& path) {
  const bool isStandardInput = path == "-";
  const auto name = isStandardInput ? "Standard input" : path;
  // A C stream reports the end of standard input and its failure as different states.
  const auto close = [](std::FILE* file) { return file == stdin ? 0 : std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> file(
      isStandardInput ? stdin : std::fopen(path.c_str(), "rb"), close);
  Data contents(largestArguments + 1);
  contents.resize(file ? std::fread(contents.data(), 1, contents.size(), file.get()) : 0);
  if (!file || std::ferror(file.get()) != 0) {
    return UsageError{fmt::format("{} cannot be read", name)};
  }
  if (contents.size() > largestArguments) return UsageError{fmt::format(tooLarge, name + " is")};
  return contents;
}

UsageResult<Array> readArguments(std::span<const ArgumentDescription> descriptions,
                                 const GivenWords& words, const WordContext& context) {
  Array values;
  for (std::size_t i = 0; i < descriptions.size(); ++i) {
    if (descriptions[i].form == ArgumentForm::clientFlag) continue;
    const auto description = settled(descriptions, i, words);
    if (const auto error = read(description, words[i], context, values)) return *error;
  }
  if (isTooLarge(descriptions, values)) {
    return UsageError{fmt::format(tooLarge, "The arguments are")};
  }
  return values;
}

}  // namespace qrt
