#include "client/cli/plan/PlanOutput.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/Printable.h"
#include "client/cli/commandline/OperationDescription.h"
#include "client/cli/output/AlignedText.h"
#include "client/cli/output/ShownName.h"
#include "client/cli/output/SizeText.h"
#include "platform/FileStatus.h"

namespace qrt {
namespace {

using Presence = SurveyedObject::Presence;

/// Lines of one kind in a text for a person.
constexpr std::size_t mostLines = 10;

struct TypeName {
  std::uint32_t type;
  std::string_view name;
};
constexpr TypeName typeNames[] = {
    {file_type::regular, "file"},       {file_type::folder, "folder"},
    {file_type::link, "link"},          {file_type::fifo, "FIFO"},
    {file_type::socket, "socket"},      {file_type::characterDevice, "device"},
    {file_type::blockDevice, "device"}, {file_type::whiteout, "whiteout"},
};

std::string_view nameOfType(std::uint32_t type) {
  const auto* const found = std::find_if(std::begin(typeNames), std::end(typeNames),
                                         [&](const TypeName& one) { return one.type == type; });
  return found == std::end(typeNames) ? "object" : found->name;
}

struct PasswordForecast {
  RightForecast right;
  std::string_view word;
  std::string_view text;
};
constexpr PasswordForecast passwordForecasts[] = {
    {RightForecast::granted, "no", "not needed"},
    {RightForecast::needsPassword, "yes", "needed, of an administrator"},
    {RightForecast::refused, "refused", "of no use: you do not get the right"},
    {RightForecast::unknown, "maybe", "may be needed: the system's authority does not answer"},
};

const PasswordForecast& passwordOf(const Plan& plan) {
  return *std::find_if(std::begin(passwordForecasts), std::end(passwordForecasts),
                       [&](const PasswordForecast& one) { return one.right == plan.right; });
}

std::string_view presenceWord(Presence presence) {
  if (presence == Presence::present) return "present";
  return presence == Presence::missing ? "missing" : "hidden";
}

/// "3 objects", "at least 1 object".
std::string extentText(const ObjectCount& count) {
  return fmt::format("{}{} object{}", count.isComplete ? "" : "at least ", countText(count.objects),
                     count.objects == 1 ? "" : "s");
}

/// "folder with 3 objects, 12 kB".
std::string whatItIs(const SurveyedObject& object) {
  if (object.presence == Presence::missing) return "does not exist";
  if (object.presence == Presence::hidden) return "you may not look at it";
  std::string text(nameOfType(object.type));
  if (object.below) {
    return text +
           fmt::format(" with {}, {}", extentText(*object.below), sizeText(object.below->bytes));
  }
  if (object.type == file_type::regular) text += ", " + sizeText(object.size);
  return text;
}

/// What becomes of it.
std::string_view effectText(const SurveyedObject& object) {
  const bool isLeft = object.presence == Presence::missing && object.effect.isChange &&
                      object.effect.expected != Expected::nothing && !object.obstacle;
  return isLeft ? "nothing to do" : object.effect.text;
}

std::string lineOf(const SurveyedObject& object) {
  return fmt::format("{} ({}): {}", printable(object.path), whatItIs(object), effectText(object));
}

std::string_view textOf(Consequence consequence) {
  switch (consequence) {
    case Consequence::cleared:
      return "the helper clears it";
    case Consequence::stops:
      return "stops the operation";
    case Consequence::mayStop:
      return "stops the operation if a change is necessary there";
    case Consequence::harmless:
      break;
  }
  return "does not stop the helper";
}

std::string lineOf(const Protection& protection) {
  const auto where = protection.objects == 1
                         ? printable(protection.example)
                         : fmt::format("{} objects, first {}", countText(protection.objects),
                                       printable(protection.example));
  return fmt::format("{} on {}; {}", protection.name, where, textOf(protection.consequence));
}

std::string lineOf(const Obstacle& obstacle) { return "would fail: " + obstacle.text; }

/// A line for each of the first elements, and the number of those that are left out.
template <class Elements>
void addLines(AlignedText& text, const std::string& label, const Elements& elements,
              std::size_t number) {
  const auto shown = std::min(elements.size(), mostLines);
  for (std::size_t i = 0; i < shown; ++i) text.add({label, lineOf(elements[i])});
  if (number > shown) text.add({label, fmt::format("and {} more", countText(number - shown))});
}

/// Without those that the action names.
std::string valuesText(const Plan& plan) {
  const auto action = plan.operation.row.action;
  std::string text;
  for (const auto& [name, words] : plan.values) {
    if (action.find(fmt::format("{{{}}}", name)) != std::string_view::npos) continue;
    text += fmt::format("{}{}", text.empty() ? "" : ", ", name);
    for (const auto& word : words) text += ' ' + shownName(word);
  }
  return text;
}

std::string totalText(const Plan& plan) {
  return fmt::format("{}, {}", extentText(plan.total), sizeText(plan.total.bytes));
}

void addProtections(AlignedText& text, const Plan& plan) {
  constexpr const char* label = "Protection:";
  const auto& found = plan.protections.all();
  addLines(text, label, found, found.size());
  if (!found.empty()) return;
  text.add({label, plan.isChange ? "none found: no flag, no access control list, no read-only "
                                   "mount, no system integrity protection"
                                 : "does not matter for this operation"});
}

void addResult(AlignedText& text, const Plan& plan) {
  constexpr const char* label = "Result:";
  addLines(text, label, plan.obstacles, plan.obstructed);
  if (plan.right == RightForecast::refused) text.add({label, "would be refused"});
  if (!plan.missingFeature.empty()) text.add({label, "would fail, or have no effect"});
  if (plan.status() != ExitStatus::done) return;
  text.add({label, plan.total.isComplete ? "can be done" : "can be done, as far as was looked at"});
}

Dictionary recordOf(const ObjectCount& count) {
  return {{"objects", count.objects}, {"bytes", count.bytes}, {"isComplete", count.isComplete}};
}

Dictionary recordOf(const Protection& protection) {
  return {{"name", protection.name},
          {"consequence", wordFor(protection.consequence)},
          {"objects", protection.objects},
          {"example", protection.example}};
}

Dictionary recordOf(const SurveyedObject& object) {
  Dictionary record{{"path", object.path},
                    {"effect", effectText(object)},
                    {"presence", presenceWord(object.presence)}};
  if (object.presence == Presence::present) {
    record.emplace("type", nameOfType(object.type));
    record.emplace("size", object.size);
  }
  if (object.below) record.emplace("below", recordOf(*object.below));
  Array protections;
  for (const auto& protection : object.protections.all()) {
    protections.push_back(recordOf(protection));
  }
  record.emplace("protections", std::move(protections));
  return record;
}

Dictionary recordOf(const Obstacle& obstacle) {
  return {{"text", obstacle.text}, {"isMissing", obstacle.isMissing}};
}

template <class Elements>
Array recordsOf(const Elements& elements) {
  Array records;
  for (const auto& element : elements) records.push_back(recordOf(element));
  return records;
}

}  // namespace

std::string textOf(const Plan& plan) {
  const auto& operation = plan.operation;
  AlignedText text;
  text.add({"Action:", plan.action});
  if (auto values = valuesText(plan); !values.empty()) text.add({"Values:", std::move(values)});
  addLines(text, "Object:", plan.objects, plan.named);
  if (plan.named > 1) text.add({"Total:", totalText(plan)});
  if (plan.named > 0) addProtections(text, plan);
  text.add({"Right:", fmt::format("{}, for {}", operation.right, operation.users)});
  text.add(
      {"Password:", plan.isRoot ? "not needed: you are root" : std::string(passwordOf(plan).text)});
  text.add({"This system:", plan.missingFeature.empty()
                                ? "supports it"
                                : "does not support it: no " + plan.missingFeature});
  addResult(text, plan);
  return text.text() + "Nothing was changed.\n";
}

Dictionary recordOf(const Plan& plan) {
  Array values;
  for (const auto& [name, words] : plan.values) {
    values.push_back(Dictionary{{"name", name}, {"words", Array(words.begin(), words.end())}});
  }
  return {{"operation", plan.operation.row.identifier},
          {"action", plan.action},
          {"values", std::move(values)},
          {"named", static_cast<std::uint64_t>(plan.named)},
          {"objects", recordsOf(plan.objects)},
          {"total", recordOf(plan.total)},
          {"obstacles", recordsOf(plan.obstacles)},
          {"right", plan.operation.right},
          {"who", plan.operation.users},
          {"password", passwordOf(plan).word},
          {"isSupported", plan.missingFeature.empty()},
          {"canBeDone", plan.status() == ExitStatus::done}};
}

}  // namespace qrt
