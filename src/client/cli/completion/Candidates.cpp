#include "client/cli/completion/Candidates.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <span>

#include "base/Path.h"
#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/SignalNames.h"
#include "operations/UtilityPaths.h"
#include "platform/SystemNames.h"

namespace qrt {
namespace {

using Words = std::span<const std::string>;

/// Those that this system has.
std::vector<std::string> utilityNames() {
  std::vector<std::string> names;
  for (const auto path : utilityPaths()) {
    const auto installed = namesInFolder(std::string(path::withoutLastComponent(path)));
    const std::string name(path::lastComponent(path));
    if (std::binary_search(installed.begin(), installed.end(), name)) names.push_back(name);
  }
  return names;
}

/// Arguments whose words are names of things that the system has.
struct NamedThings {
  std::string_view operation;
  std::string_view argument;
  std::vector<std::string> (*names)();
};
constexpr NamedThings namedThings[] = {
    {"execute-utility", "UTILITY", utilityNames},
    {"enable-ipvsix", "SERVICE", networkServiceNames},
    {"erase-diskblocks", "DEVICE", blockDeviceNames},
};

Candidates valuesOf(const ArgumentDescription& argument, const OperationArguments& row,
                    std::string_view typed) {
  Candidates candidates;
  for (const auto& things : namedThings) {
    if (things.operation != row.identifier || things.argument != argument.name) continue;
    for (auto& name : things.names()) candidates.push_back({std::move(name)});
  }
  if (argument.form == ArgumentForm::signal) {
    const auto* const prefix = typed.starts_with("SIG") ? "SIG" : "";
    for (const auto name : signalNames()) candidates.push_back({fmt::format("{}{}", prefix, name)});
  }
  for (const auto& choice : choicesOf(argument)) candidates.push_back({std::string(choice.word)});
  return candidates;
}

template <class Entry>
void add(Candidates& candidates, const Entry& entry) {
  candidates.push_back({std::string(entry.name), std::string(entry.help)});
}

void add(Candidates& candidates, const InformationOption& option) {
  const auto longName = option.names.substr(option.names.find("--"));
  candidates.push_back({std::string(longName), std::string(option.help)});
}

void addGeneralOptions(Candidates& candidates) {
  for (const auto& option : generalOptions()) add(candidates, option);
  add(candidates, helpOption);
}

Candidates optionsOf(const OperationArguments& row) {
  Candidates candidates;
  for (const auto& argument : row.arguments) {
    if (isOption(argument)) add(candidates, argument);
  }
  if (const auto* own = clientOptionOf(row)) add(candidates, *own);
  addGeneralOptions(candidates);
  return candidates;
}

using BuiltIns = std::span<const BuiltInDescription>;

Candidates commandNames(BuiltIns builtIns, const OperationDescriptions& operations) {
  Candidates candidates;
  for (const auto& builtIn : builtIns) {
    if (!builtIn.isHidden) add(candidates, builtIn);
  }
  for (const auto& operation : operations) {
    candidates.push_back({std::string(operation.row.identifier), operation.sentence});
  }
  return candidates;
}

/// The operations, and their rights for a word that does not begin like an operation.
Candidates operationsAndRights(const OperationDescriptions& operations, std::string_view typed) {
  Candidates names;
  Candidates rights;
  for (const auto& operation : operations) {
    rights.push_back({operation.right, operation.sentence});
    if (operation.row.identifier.starts_with(typed)) {
      names.push_back({std::string(operation.row.identifier), operation.sentence});
    }
  }
  return names.empty() ? rights : names;
}

/// Null unless the operation has such an option and it takes a value.
const ArgumentDescription* optionWithValue(std::string_view name, const OperationArguments& row) {
  const auto* const found =
      std::find_if(row.arguments.begin(), row.arguments.end(),
                   [&](const ArgumentDescription& argument) { return argument.name == name; });
  const bool takesValue = found != row.arguments.end() && isOption(*found) && !isFlag(found->form);
  return takesValue ? found : nullptr;
}

const ArgumentDescription* argumentAt(std::size_t index, const OperationArguments& row) {
  for (const auto& argument : row.arguments) {
    if (isImplied(argument.form) || isOption(argument)) continue;
    if (index-- == 0 || isRepeatable(argument)) return &argument;
  }
  return nullptr;
}

/// What is expected after some words of an operation.
struct Position {
  /// How many words are no options and no values of options.
  std::size_t index = 0;
  bool areOptionsOver = false;
  /// Whether the last word is an option that takes a value.
  bool awaitsValue = false;
  /// That option, if it is the operation's own.
  const ArgumentDescription* option = nullptr;
};

Position positionAfter(Words words, const OperationArguments& row) {
  Position position;
  for (const auto& word : words) {
    if (position.awaitsValue) {
      position.awaitsValue = false;
    } else if (position.areOptionsOver || !word.starts_with('-')) {
      ++position.index;
    } else if (word == "--") {
      position.areOptionsOver = true;
    } else {
      position.option = optionWithValue(word, row);
      position.awaitsValue = position.option || isGeneralOptionWithValue(word);
    }
  }
  return position;
}

Candidates inOperation(Words words, const OperationArguments& row) {
  const auto& typed = words.back();
  const auto position = positionAfter(words.first(words.size() - 1), row);
  const auto* argument = position.option;
  if (!position.awaitsValue) {
    if (!position.areOptionsOver && typed.starts_with('-')) return optionsOf(row);
    argument = argumentAt(position.index, row);
  }
  return argument ? valuesOf(*argument, row, typed) : Candidates{};
}

Candidates inBuiltIn(std::string_view typed, const BuiltInDescription& builtIn,
                     const OperationDescriptions& operations) {
  if (builtIn.command == BuiltInCommand::explain && !typed.starts_with('-')) {
    return operationsAndRights(operations, typed);
  }
  if (builtIn.command == BuiltInCommand::help && !typed.starts_with('-')) {
    return commandNames(builtInCommands(), operations);
  }
  Candidates candidates;
  if (!builtIn.option.name.empty()) add(candidates, builtIn.option);
  addGeneralOptions(candidates);
  return candidates;
}

Candidates beforeCommand(std::string_view typed, BuiltIns builtIns,
                         const OperationDescriptions& operations) {
  if (!typed.starts_with('-')) return commandNames(builtIns, operations);
  Candidates candidates;
  addGeneralOptions(candidates);
  add(candidates, versionOption);
  return candidates;
}

Candidates allCandidates(Words words, BuiltIns builtIns, const OperationDescriptions& operations) {
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    if (isGeneralOptionWithValue(words[i])) {
      if (i + 2 == words.size()) return {};
      ++i;
    } else if (!words[i].starts_with('-')) {
      for (const auto& operation : operations) {
        if (operation.row.identifier == words[i]) {
          return inOperation(words.subspan(i + 1), operation.row);
        }
      }
      for (const auto& builtIn : builtIns) {
        if (builtIn.name != words[i]) continue;
        // An operation with its words follows.
        if (builtIn.command == BuiltInCommand::plan) {
          return allCandidates(words.subspan(i + 1), {}, operations);
        }
        return inBuiltIn(words.back(), builtIn, operations);
      }
      return {};
    }
  }
  return beforeCommand(words.back(), builtIns, operations);
}

}  // namespace

Candidates candidatesFor(const std::vector<std::string>& words,
                         const OperationDescriptions& operations) {
  if (words.empty()) return {};
  auto candidates = allCandidates(words, builtInCommands(), operations);
  candidates.erase(std::remove_if(candidates.begin(), candidates.end(),
                                  [&](const Candidate& candidate) {
                                    return !candidate.word.starts_with(words.back());
                                  }),
                   candidates.end());
  return candidates;
}

std::string textOf(const Candidates& candidates) {
  std::string text;
  for (const auto& [word, help] : candidates) {
    text += help.empty() ? word + '\n' : fmt::format("{}\t{}\n", word, help);
  }
  return text;
}

}  // namespace qrt
