// What an operation would do, found out without a change and without the helper.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/cli/commandline/ArgumentReader.h"
#include "client/cli/output/ExitStatus.h"
#include "client/cli/plan/ObjectSurvey.h"
#include "platform/RightForecast.h"

namespace qrt {

struct OperationDescription;

struct Plan {
  const OperationDescription& operation;
  /// "Delete /srv/old and 2 more for good", without a full stop.
  std::string action;
  /// Names of arguments with their words, without those that name objects. A flag has no words.
  std::vector<std::pair<std::string_view, std::vector<std::string>>> values = {};
  /// The first ones; a command can name many.
  std::vector<SurveyedObject> objects = {};
  std::vector<Obstacle> obstacles = {};
  /// Of all objects: how many were named, and what they and everything below them amount to.
  std::size_t named = 0;
  std::size_t obstructed = 0;
  ObjectCount total = {};
  Protections protections = {};
  /// Whether an object is written.
  bool isChange = false;
  bool isRoot = false;
  RightForecast right = RightForecast::granted;
  /// "firmware variables (for modify-nvram)"; empty when this system has what it needs.
  std::string missingFeature = {};

  /// `done` when the operation can be carried out, as far as that can be known.
  ExitStatus status() const;
};

/// Looks at objects for two seconds at most.
Plan planFor(const OperationDescription& operation, const GivenWords& words,
             const WordContext& context);

}  // namespace qrt
