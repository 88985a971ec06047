#include "client/cli/plan/Plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/Path.h"
#include "client/cli/commandline/CallerPaths.h"
#include "client/cli/commandline/OperationDescription.h"
#include "client/cli/paths/ActionText.h"
#include "operations/UtilityPaths.h"
#include "platform/FileStatus.h"
#include "platform/Platform.h"
#include "platform/SelfProcess.h"
#include "platform/SystemFeatures.h"

namespace qrt {
namespace {

constexpr std::chrono::seconds longestSurvey{2};
/// Objects and obstacles that are kept.
constexpr std::size_t mostKept = 1000;

/// The sizes are the objects' own, so the sentence has none.
std::string actionOf(const OperationDescription& operation, const GivenWords& words,
                     const WordContext& context) {
  ActionText action(operation.row, words, context);
  auto text = action.in([](std::string english) {
    std::erase(english, '*');
    return english;
  });
  if (text.empty()) text = operation.sentence;
  if (text.ends_with('.')) text.pop_back();
  return text;
}

/// The parser has refused the names of others.
std::string pathOfUtility(std::string_view name) {
  const auto paths = utilityPaths();
  return std::string(*std::find_if(paths.begin(), paths.end(), [&](std::string_view path) {
    return path::lastComponent(path) == name;
  }));
}

class Planning {
 public:
  Planning(const OperationDescription& operation, const GivenWords& words,
           const WordContext& context)
      : words_(words),
        context_(context),
        roles_(objectRoles(operation.row.identifier)),
        plan_{operation, actionOf(operation, words, context)} {}

  Plan run() {
    const auto& arguments = plan_.operation.row.arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      const auto& argument = arguments.data()[i];
      if (const auto* const effect = effectOn(argument)) {
        for (const auto& word : words_[i]) addObject(pathOf(word, argument.form), *effect);
      } else {
        addValue(argument, words_[i]);
      }
    }
    addFeature();
    addRight();
    return std::move(plan_);
  }

 private:
  bool isGiven(std::string_view option) const {
    for (std::size_t i = 0; i < words_.size(); ++i) {
      if (plan_.operation.row.arguments.data()[i].name == option) return !words_[i].empty();
    }
    return false;
  }

  /// Null when the argument names no object.
  const ObjectEffect* effectOn(const ArgumentDescription& argument) const {
    const auto role = std::find_if(roles_.begin(), roles_.end(), [&](const ObjectRole& one) {
      return one.argument == argument.name;
    });
    if (role == roles_.end()) return nullptr;
    return isGiven(role->option) ? role->effectWithOption : role->effect;
  }

  std::string pathOf(const std::string& word, ArgumentForm form) const {
    if (form == ArgumentForm::device) return context_.platform.root + "/dev/" + word;
    if (form == ArgumentForm::utility) return pathOfUtility(word);
    const auto path = absolutePath(word, context_.caller);
    return path ? *path : word;
  }

  void addObject(const std::string& path, const ObjectEffect& effect) {
    auto object = surveyObject(context_.platform, path, effect, deadline_);
    ++plan_.named;
    addToTotal(object);
    plan_.protections.add(object.protections);
    plan_.isChange = plan_.isChange || object.effect.isChange;
    if (object.obstacle) addObstacle(*object.obstacle);
    if (plan_.objects.size() < mostKept) plan_.objects.push_back(std::move(object));
  }

  void addValue(const ArgumentDescription& argument, const std::vector<std::string>& words) {
    if (words.empty() || argument.form == ArgumentForm::clientFlag) return;
    plan_.values.emplace_back(argument.name,
                              isFlag(argument.form) ? std::vector<std::string>() : words);
  }

  void addToTotal(const SurveyedObject& object) {
    auto& total = plan_.total;
    if (object.presence == SurveyedObject::Presence::hidden) total.isComplete = false;
    if (object.presence != SurveyedObject::Presence::present) return;
    ++total.objects;
    if (object.type == file_type::regular) total.bytes += object.size;
    if (!object.below) return;
    total.objects += object.below->objects;
    total.bytes += object.below->bytes;
    total.isComplete = total.isComplete && object.below->isComplete;
  }

  void addObstacle(Obstacle obstacle) {
    ++plan_.obstructed;
    if (plan_.obstacles.size() < mostKept) plan_.obstacles.push_back(std::move(obstacle));
  }

  void addFeature() {
    const auto features = systemFeatures();
    const auto* const missing = qrt::missingFeature(plan_.operation.row, features);
    if (!missing) return;
    plan_.missingFeature = fmt::format("{} ({})", missing->name, missing->note);
  }

  /// Root is not asked.
  void addRight() {
    plan_.isRoot = context_.platform.self.realUserID() == 0;
    if (plan_.isRoot) return;
    plan_.right = forecastOfRight(plan_.operation.right, ruleOf(plan_.operation));
  }

  const GivenWords& words_;
  const WordContext& context_;
  const std::span<const ObjectRole> roles_;
  const std::chrono::steady_clock::time_point deadline_ =
      std::chrono::steady_clock::now() + longestSurvey;
  Plan plan_;
};

}  // namespace

ExitStatus Plan::status() const {
  if (right == RightForecast::refused) return ExitStatus::notAuthorized;
  if (!missingFeature.empty()) return ExitStatus::failed;
  if (obstacles.empty()) return ExitStatus::done;
  return obstacles.back().isMissing ? ExitStatus::notFound : ExitStatus::failed;
}

Plan planFor(const OperationDescription& operation, const GivenWords& words,
             const WordContext& context) {
  return Planning(operation, words, context).run();
}

}  // namespace qrt
