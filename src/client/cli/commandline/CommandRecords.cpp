#include "client/cli/commandline/CommandRecords.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "client/cli/commandline/CommandTables.h"
#include "platform/SystemFeatures.h"

namespace qrt {
namespace {

/// What the user writes for an argument, whatever is sent for it.
std::string_view typeOf(ArgumentForm form) {
  switch (form) {
    case ArgumentForm::path:
    case ArgumentForm::pathWithOption:
      return "path";
    case ArgumentForm::choice:
    case ArgumentForm::bits:
    case ArgumentForm::onOff:
      return "word";
    case ArgumentForm::textFlag:
    case ArgumentForm::numberFlag:
    case ArgumentForm::clientFlag:
      return "flag";
    case ArgumentForm::number:
    case ArgumentForm::count:
      return "number";
    case ArgumentForm::signal:
      return "signal";
    case ArgumentForm::fileContents:
      return "file";
    case ArgumentForm::accessControlList:
      return "accessControlList";
    default:
      return "text";
  }
}

std::string_view wordFor(Occurrence occurrence) {
  switch (occurrence) {
    case Occurrence::once:
      return "once";
    case Occurrence::optional:
      return "optional";
    case Occurrence::oneOrMore:
      return "oneOrMore";
    case Occurrence::any:
      break;
  }
  return "any";
}

Dictionary argumentRecord(std::string_view name, std::string_view meaning, std::string_view type,
                          std::string_view occurrence) {
  return {{"name", name}, {"meaning", meaning}, {"type", type}, {"occurrence", occurrence}};
}

Array argumentsOf(const OperationArguments& operation) {
  Array records;
  for (const auto& argument : operation.arguments) {
    if (isImplied(argument.form)) continue;
    auto record = argumentRecord(argument.name, argument.help, typeOf(argument.form),
                                 isFlag(argument.form) ? "optional" : wordFor(argument.occurrence));
    Array words;
    for (const auto& choice : choicesOf(argument)) words.push_back(choice.word);
    if (!words.empty()) record.emplace("words", std::move(words));
    records.push_back(std::move(record));
  }
  if (const auto* own = clientOptionOf(operation)) {
    records.push_back(argumentRecord(own->name, own->help, "flag", "optional"));
  }
  return records;
}

Dictionary recordOf(const BuiltInDescription& command) {
  Array arguments;
  if (const auto& option = command.option; !option.name.empty()) {
    arguments.push_back(argumentRecord(option.name, option.help, "flag", "optional"));
  }
  if (const auto& argument = command.argument; !argument.name.empty()) {
    arguments.push_back(
        argumentRecord(argument.name, argument.help, "text", wordFor(argument.occurrence)));
  }
  return {{"command", command.name},
          {"description", command.help},
          {"arguments", std::move(arguments)}};
}

Dictionary helpOnProgram(const OperationDescriptions& operations) {
  Array options;
  for (const auto& option : generalOptions()) {
    options.push_back(
        argumentRecord(option.name, option.help, option.flag ? "flag" : "text", "optional"));
  }
  Array commands;
  for (const auto& command : builtInCommands()) {
    if (!command.isHidden) commands.push_back(recordOf(command));
  }
  Array names;
  for (const auto& operation : operations) names.push_back(operation.row.identifier);
  Array statuses;
  for (const auto& [status, meaning] : exitStatuses()) {
    statuses.push_back(
        Dictionary{{"status", static_cast<std::int64_t>(status)}, {"meaning", meaning}});
  }
  return {{"options", std::move(options)},
          {"commands", std::move(commands)},
          {"operations", std::move(names)},
          {"exitStatuses", std::move(statuses)}};
}

}  // namespace

Dictionary recordOf(const OperationDescription& operation,
                    const std::vector<SystemFeature>& features) {
  const auto& row = operation.row;
  return {{"operation", row.identifier},
          {"code", operation.code},
          {"right", operation.right},
          {"who", operation.users},
          {"feedback", operation.feedback.empty() ? "nothing" : operation.feedback},
          {"description", operation.sentence},
          {"synopsis", synopsisOf(row)},
          {"arguments", argumentsOf(row)},
          {"asksFirst", row.confirmation == Confirmation::asked},
          {"isSupported", missingFeature(row, features) == nullptr}};
}

Dictionary helpRecord(const std::string& command, const OperationDescriptions& operations,
                      const std::vector<SystemFeature>& features) {
  const auto operation =
      std::find_if(operations.begin(), operations.end(),
                   [&](const OperationDescription& one) { return one.row.identifier == command; });
  if (operation != operations.end()) return recordOf(*operation, features);
  const auto builtIn =
      std::find_if(builtInCommands().begin(), builtInCommands().end(),
                   [&](const BuiltInDescription& one) { return one.name == command; });
  return builtIn != builtInCommands().end() ? recordOf(*builtIn) : helpOnProgram(operations);
}

}  // namespace qrt
