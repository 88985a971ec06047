// What each operation does with the objects that its arguments name, as data.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/Folder.h"

namespace qrt {

/// What must be at the path of an object.
enum class Expected { object, folder, otherThanFolder, nothing };

/// What becomes of the operation when the object is missing.
enum class WhenMissing { notFound, failed, accepted };

/// What an effect concerns. An `emptyObject` is not a folder with entries.
enum class Reach { object, emptyObject, everythingBelow };

/// Flags that the helper clears, flags with which the system refuses the effect, and flags with
/// which it refuses the effect unless the object has it already.
struct FlagRule {
  std::uint32_t cleared = 0;
  std::uint32_t stopping = 0;
  std::uint32_t doubtful = 0;
};

struct ObjectEffect {
  /// What becomes of the object: "deleted".
  std::string_view text;
  Expected expected = Expected::object;
  WhenMissing whenMissing = WhenMissing::notFound;
  Links links = Links::follow;
  Reach reach = Reach::object;
  /// Whether something is written. Else no protection matters.
  bool isChange = false;
  /// Whether it removes or moves the object, or what is below it. Mount points refuse that.
  bool removes = false;
  /// For the object, what is below it, and the folder that holds it.
  FlagRule own = {}, below = {}, holder = {};
};

struct ObjectRole {
  std::string_view argument;
  /// Null when the argument names an object with the option only.
  const ObjectEffect* effect;
  /// An option that changes the effect.
  std::string_view option = {};
  const ObjectEffect* effectWithOption = nullptr;
};

/// Empty for an operation whose arguments name no objects.
std::span<const ObjectRole> objectRoles(std::string_view operation);

}  // namespace qrt
