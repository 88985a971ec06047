#include "client/cli/commandline/OperationDescription.h"

#include <fmt/format.h>

#include <algorithm>

#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/NearestWords.h"
#include "client/cli/output/AlignedText.h"
#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/SystemFeatures.h"

namespace qrt {
namespace {

std::string_view usersOf(const QRTPrivilegedOperation& operation) {
  const auto* rule = operation.authenticationPolicy().string();
  return rule && *rule == "allow" ? "everybody" : "administrators";
}

std::string_view feedbackOf(const QRTPrivilegedOperation& operation) {
  if (operation.isSupportingProgressFeedback()) return "progress";
  return operation.isSupportingLiveOutput() ? "output" : "";
}

/// The word for the value of an option.
std::string_view placeholderOf(ArgumentForm form) {
  if (form == ArgumentForm::number || form == ArgumentForm::count) return "NUMBER";
  if (form == ArgumentForm::bits) return "WORD";
  return "TEXT";
}

/// With its value.
std::string nameOf(const ArgumentDescription& argument) {
  if (!isOption(argument) || isFlag(argument.form)) return std::string(argument.name);
  return fmt::format("{} {}", argument.name, placeholderOf(argument.form));
}

std::string synopsisOf(const ArgumentDescription& argument) {
  auto name = nameOf(argument);
  if (isFlag(argument.form)) return fmt::format("[{}]", name);
  switch (argument.occurrence) {
    case Occurrence::once:
      return name;
    case Occurrence::optional:
      return fmt::format("[{}]", name);
    case Occurrence::oneOrMore:
      return name + "...";
    case Occurrence::any:
      return fmt::format("[{}]...", name);
  }
  return name;
}

/// With the names of arguments in place of their words.
std::string questionOf(const OperationArguments& operation) {
  std::string text(operation.action);
  std::erase_if(text, [](char c) { return c == '{' || c == '}' || c == '*'; });
  return text + "?";
}

}  // namespace

OperationDescriptions describedOperations(const QRTPrivilegedOperationSet& operations) {
  OperationDescriptions descriptions;
  for (const auto& row : operationArguments()) {
    const auto found = operations.implementedOperations().find(row.identifier);
    if (found == operations.implementedOperations().end()) continue;
    const auto& operation = found->second;
    const auto right = operations.authorizationRightNameForOperationWithIdentifier(row.identifier);
    descriptions.push_back({operations.opCodeForOperation(&operation), row,
                            sentenceOf(operation.presentationString()), right.value_or(""),
                            usersOf(operation), feedbackOf(operation),
                            operation.authenticationPolicy(), operation.presentationString()});
  }
  return descriptions;
}

RightRule ruleOf(const OperationDescription& operation) {
  return operation.users == "everybody" ? RightRule::everybody : RightRule::administrators;
}

UsageError unknownOperation(const std::string& word, const OperationDescriptions& operations) {
  std::vector<std::string_view> names;
  for (const auto& operation : operations) names.push_back(operation.row.identifier);
  return {fmt::format("There is no operation '{}'{}", word, proposalFor(word, names))};
}

std::string synopsisOf(const OperationArguments& operation) {
  std::string options;
  std::string words;
  if (const auto* own = clientOptionOf(operation)) options = fmt::format(" [{}]", own->name);
  for (const auto& argument : operation.arguments) {
    if (isImplied(argument.form)) continue;
    (isOption(argument) ? options : words) += ' ' + synopsisOf(argument);
  }
  auto synopsis = options + words;
  if (!synopsis.empty()) synopsis.erase(0, 1);
  return synopsis;
}

std::string commandLineOf(const OperationArguments& operation) {
  const auto synopsis = synopsisOf(operation);
  return fmt::format("qrtctl {}{}{}", operation.identifier, synopsis.empty() ? "" : " ", synopsis);
}

std::vector<ArgumentRow> argumentRows(const OperationArguments& operation) {
  std::vector<ArgumentRow> rows;
  for (const auto& argument : operation.arguments) {
    if (isImplied(argument.form)) continue;
    rows.emplace_back(nameOf(argument), argument.help);
  }
  if (const auto* own = clientOptionOf(operation)) rows.emplace_back(own->name, own->help);
  return rows;
}

std::string feedbackPhrase(const OperationDescription& operation) {
  if (operation.feedback.empty()) return "sends no feedback";
  return fmt::format("sends {} while it runs", operation.feedback);
}

const SystemFeature* missingFeature(const OperationArguments& operation,
                                    const std::vector<SystemFeature>& features) {
  const auto found = std::find_if(
      features.begin(), features.end(),
      [&](const SystemFeature& feature) { return feature.name == operation.neededFeature; });
  return found != features.end() && !found->isPresent ? &*found : nullptr;
}

std::string explanationOf(const OperationDescription& operation,
                          const std::vector<SystemFeature>& features) {
  const auto& row = operation.row;
  AlignedText text;
  text.add({"Usage:", commandLineOf(row)});
  for (const auto& [name, meaning] : argumentRows(row)) text.add({"  " + name, meaning});
  text.add({"Right:", fmt::format("{}, for {}", operation.right, operation.users)});
  text.add({"Feedback:", feedbackPhrase(operation)});
  if (row.confirmation == Confirmation::asked) text.add({"Question:", questionOf(row)});
  const auto* missing = missingFeature(row, features);
  text.add({"This system:",
            missing ? fmt::format("does not support it (no {}: {})", missing->name, missing->note)
                    : "supports it"});
  const auto note = row.note.empty() ? "" : fmt::format("\n{}\n", row.note);
  return operation.sentence + "\n" + text.text() + note;
}

std::string listOf(const OperationDescriptions& operations) {
  AlignedText text;
  text.add({"OPERATION", "FOR", "SENDS", "WHAT IT DOES"});
  for (const auto& operation : operations) {
    text.add({std::string(operation.row.identifier), std::string(operation.users),
              std::string(operation.feedback.empty() ? "nothing" : operation.feedback),
              operation.sentence});
  }
  return text.text();
}

}  // namespace qrt
