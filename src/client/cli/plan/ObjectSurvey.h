// What a plan finds out about one object, without a change and without the helper.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "client/cli/paths/ObjectCount.h"
#include "client/cli/plan/ObjectEffects.h"
#include "client/cli/plan/Protections.h"

namespace qrt {

struct Platform;

/// Why the operation would fail.
struct Obstacle {
  /// A sentence without a full stop.
  std::string text;
  /// Whether an object is missing.
  bool isMissing = false;
};

struct SurveyedObject {
  enum class Presence {
    present,
    missing,
    /// This process may not look at it. The helper may.
    hidden
  };

  std::string path;
  const ObjectEffect& effect;
  Presence presence = Presence::missing;
  /// Type bits and size of an object that is present.
  std::uint32_t type = 0;
  std::uint64_t size = 0;
  /// What is below it, if the effect concerns that.
  std::optional<ObjectCount> below = std::nullopt;
  Protections protections = {};
  std::optional<Obstacle> obstacle = std::nullopt;
};

/// Looks at the object and until the deadline at what is below it.
SurveyedObject surveyObject(const Platform& platform, const std::string& path,
                            const ObjectEffect& effect,
                            std::chrono::steady_clock::time_point deadline);

}  // namespace qrt
