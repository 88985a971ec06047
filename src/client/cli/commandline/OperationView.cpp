#include "client/cli/commandline/OperationView.h"

#include <fmt/format.h>

#include <algorithm>

#include "client/cli/commandline/CommandTables.h"
#include "client/cli/commandline/OperationSentence.h"
#include "client/cli/output/AlignedText.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/SystemFeatures.h"

namespace qrt {
namespace {

/// What stands for the value of an option.
std::string_view placeholderOf(ArgumentForm form) {
  if (form == ArgumentForm::number) return "NUMBER";
  if (form == ArgumentForm::bits) return "WORD";
  return "TEXT";
}

/// As it is written once.
std::string nameOf(const ArgumentDescription& description) {
  if (!isOption(description) || takesNoValue(description.form))
    return std::string(description.name);
  return fmt::format("{} {}", description.name, placeholderOf(description.form));
}

std::string synopsisOf(const ArgumentDescription& description) {
  auto name = nameOf(description);
  if (takesNoValue(description.form)) return fmt::format("[{}]", name);
  switch (description.occurrence) {
    case Occurrence::once:
      return isOption(description) && description.form == ArgumentForm::bits
                 ? fmt::format("[{}]", name)
                 : name;
    case Occurrence::optional:
      return fmt::format("[{}]", name);
    case Occurrence::oneOrMore:
      return name + "...";
    case Occurrence::any:
      return fmt::format("[{}]...", name);
  }
  return name;
}

}  // namespace

std::vector<OperationView> operationViews(const QRTPrivilegedOperationSet& operations) {
  std::vector<OperationView> views;
  for (const auto& form : operationArguments()) {
    const auto found = operations.implementedOperations().find(form.identifier);
    if (!form.isAvailable || found == operations.implementedOperations().end()) continue;
    const auto right = operations.authorizationRightNameForOperationWithIdentifier(form.identifier);
    views.push_back(
        {operations.opCodeForOperation(&found->second), form, found->second, right.value_or("")});
  }
  return views;
}

std::string synopsisOf(const OperationArguments& operation) {
  std::string options;
  std::string words;
  if (takesPathList(operation)) options = fmt::format(" [{}]", pathsFromInput.name);
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
  if (takesPathList(operation)) rows.emplace_back(pathsFromInput.name, pathsFromInput.help);
  return rows;
}

std::vector<std::string> choicesOf(const ArgumentDescription& description) {
  if (description.form == ArgumentForm::onOff) return {"on", "off"};
  if (description.form != ArgumentForm::choice && description.form != ArgumentForm::bits) return {};
  std::vector<std::string> words;
  auto rest = description.detail;
  while (!rest.empty()) {
    const auto entry = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    words.emplace_back(entry.substr(0, entry.find('=')));
  }
  return words;
}

std::string_view whoMay(const OperationView& view) {
  const auto* rule = view.operation.authenticationPolicy().string();
  return rule && *rule == "allow" ? "everybody" : "administrators";
}

std::string_view toldWhileRunning(const OperationView& view) {
  if (view.operation.isSupportingProgressFeedback()) return "progress";
  return view.operation.isSupportingLiveOutput() ? "output" : "nothing";
}

const SystemFeature* missingFeature(const OperationArguments& operation,
                                    const std::vector<SystemFeature>& features) {
  const auto found = std::find_if(
      features.begin(), features.end(),
      [&](const SystemFeature& feature) { return feature.name == operation.neededFeature; });
  return found != features.end() && !found->isPresent ? &*found : nullptr;
}

Dictionary recordOf(const OperationView& view, const std::vector<SystemFeature>& features) {
  Array arguments;
  for (const auto& [name, meaning] : argumentRows(view.form)) {
    arguments.push_back(Dictionary{{"name", name}, {"meaning", meaning}});
  }
  return {{"operation", view.form.identifier},
          {"code", view.code},
          {"right", view.right},
          {"who", whoMay(view)},
          {"tells", toldWhileRunning(view)},
          {"description", sentenceFor(view.operation)},
          {"synopsis", synopsisOf(view.form)},
          {"arguments", std::move(arguments)},
          {"asksFirst", !view.form.question.empty()},
          {"isSupported", missingFeature(view.form, features) == nullptr}};
}

std::string explanationOf(const OperationView& view, const std::vector<SystemFeature>& features) {
  AlignedText text;
  text.add({"Usage:", commandLineOf(view.form)});
  for (const auto& [name, meaning] : argumentRows(view.form)) text.add({"  " + name, meaning});
  text.add({"Right:", fmt::format("{}, for {}", view.right, whoMay(view))});
  text.add({"Tells:", fmt::format("{} while it runs", toldWhileRunning(view))});
  if (!view.form.question.empty()) text.add({"Asks:", std::string(view.form.question)});
  const auto* missing = missingFeature(view.form, features);
  text.add({"This system:",
            missing ? fmt::format("does not support it (no {}: {})", missing->name, missing->note)
                    : "supports it"});
  const auto note = view.form.note.empty() ? "" : fmt::format("\n{}\n", view.form.note);
  return sentenceFor(view.operation) + "\n" + text.text() + note;
}

std::string listOf(const std::vector<OperationView>& views) {
  AlignedText text;
  text.add({"OPERATION", "FOR", "TELLS", "WHAT IT DOES"});
  for (const auto& view : views) {
    text.add({std::string(view.form.identifier), std::string(whoMay(view)),
              std::string(toldWhileRunning(view)), sentenceFor(view.operation)});
  }
  return text.text();
}

}  // namespace qrt
