#include "client/generator/Generator.h"

#include <algorithm>

namespace qrt {
namespace {

bool isPassed(const OperationParameter& parameter) { return !parameter.name.empty(); }

std::string upperCased(std::string word) {
  if (!word.empty() && word[0] >= 'a' && word[0] <= 'z') word[0] += 'A' - 'a';
  return word;
}

}  // namespace

std::vector<Call> calls() {
  std::vector<Call> calls;
  const auto* operation = privilegedOperationCatalogue;
  for (const auto& row : operationParameters()) {
    if (operation->code == endOfCatalogue || row.identifier != operation->identifier) return {};
    Call call{*operation++, row, {}};
    std::copy_if(row.parameters.begin(), row.parameters.end(), std::back_inserter(call.passed),
                 isPassed);
    std::stable_partition(call.passed.begin(), call.passed.end(),
                          [](const auto& parameter) { return !parameter.isOptional; });
    calls.push_back(std::move(call));
  }
  return operation->code == endOfCatalogue ? calls : std::vector<Call>();
}

std::vector<std::pair<std::string, std::string>> choicesOf(const OperationParameter& parameter) {
  std::vector<std::pair<std::string, std::string>> choices;
  for (auto rest = parameter.detail; !rest.empty();) {
    const auto entry = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    const auto equals = entry.find('=');
    choices.emplace_back(entry.substr(0, equals), entry.substr(equals + 1));
  }
  return choices;
}

std::string typeCase(std::string_view words) {
  std::string result;
  while (!words.empty()) {
    const auto word = words.substr(0, words.find('-'));
    words.remove_prefix(std::min(word.size() + 1, words.size()));
    result += upperCased(std::string(word));
  }
  return result;
}

std::string camelCase(std::string_view words) {
  const auto first = words.substr(0, words.find('-'));
  return std::string(first) + typeCase(words.substr(first.size()));
}

std::string snakeCase(std::string_view words) {
  std::string result(words);
  std::replace(result.begin(), result.end(), '-', '_');
  return result;
}

}  // namespace qrt
