#include "client/cli/plan/Protections.h"

#include <algorithm>

#include "platform/FileStatus.h"

namespace qrt {
namespace {

struct FlagName {
  std::uint32_t flag;
  std::string_view name;
};

constexpr FlagName flagNames[] = {
    {file_flag::userImmutable, "immutable flag"},
    {file_flag::userAppendOnly, "append-only flag"},
    {file_flag::systemImmutable, "immutable flag of the system"},
    {file_flag::systemAppendOnly, "append-only flag of the system"},
    {file_flag::restricted, "system integrity protection"},
    {file_flag::noUnlink, "flag against removal"},
};

Consequence consequenceOf(std::uint32_t flag, const FlagRule& rule) {
  if ((rule.stopping & flag) != 0) return Consequence::stops;
  if ((rule.doubtful & flag) != 0) return Consequence::mayStop;
  return (rule.cleared & flag) != 0 ? Consequence::cleared : Consequence::harmless;
}

}  // namespace

std::string_view wordFor(Consequence consequence) {
  switch (consequence) {
    case Consequence::cleared:
      return "cleared";
    case Consequence::stops:
      return "stops";
    case Consequence::mayStop:
      return "mayStop";
    case Consequence::harmless:
      break;
  }
  return "harmless";
}

void Protections::add(const Protection& protection) {
  const auto known = std::find_if(found_.begin(), found_.end(), [&](const Protection& one) {
    return one.name == protection.name && one.consequence == protection.consequence;
  });
  if (known == found_.end()) {
    found_.push_back(protection);
  } else if (protection.objects > 1 || protection.example != known->example) {
    // Neighbours share their folder, which counts once.
    known->objects += protection.objects;
  }
}

void Protections::add(const Protections& others) {
  for (const auto& protection : others.found_) add(protection);
}

void Protections::add(std::string_view name, Consequence consequence, const std::string& path) {
  add({name, consequence, 1, path});
}

void Protections::addFlags(const FileStatus& status, const FlagRule& rule,
                           const std::string& path) {
  for (const auto& [flag, name] : flagNames) {
    if ((status.flags & flag) != 0) add(name, consequenceOf(flag, rule), path);
  }
}

const Protection* Protections::obstacle() const {
  const auto found = std::find_if(found_.begin(), found_.end(), [](const Protection& one) {
    return one.consequence == Consequence::stops;
  });
  return found == found_.end() ? nullptr : &*found;
}

}  // namespace qrt
