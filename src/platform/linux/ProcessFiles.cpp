#include "platform/linux/ProcessFiles.h"

#include <charconv>

namespace qrt {

std::optional<std::string_view> commandNameInStat(std::string_view contents) {
  const auto begin = contents.find('(');
  const auto end = contents.rfind(')');
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) {
    return std::nullopt;
  }
  return contents.substr(begin + 1, end - begin - 1);
}

bool isZombieInStat(std::string_view contents) {
  const auto nameEnd = contents.rfind(')');
  if (nameEnd == std::string_view::npos) return false;
  const auto state = contents.substr(nameEnd + 1, 2);
  return state == " Z" || state == " X";
}

std::optional<std::uint64_t> startTimeInStat(std::string_view contents) {
  // The third field follows the name.
  const auto nameEnd = contents.rfind(')');
  if (nameEnd == std::string_view::npos) return std::nullopt;
  contents.remove_prefix(nameEnd);
  constexpr int fieldsToStartTime = 20;
  for (int field = 0; field < fieldsToStartTime; ++field) {
    const auto space = contents.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    contents.remove_prefix(space + 1);
  }
  std::uint64_t ticks = 0;
  const auto parsed = std::from_chars(contents.data(), contents.data() + contents.size(), ticks);
  if (parsed.ec != std::errc()) return std::nullopt;
  return ticks;
}

std::optional<std::uint32_t> effectiveUserInStatus(std::string_view contents) {
  // The process name is in a line before this one; the kernel escapes a line end in it.
  constexpr std::string_view label = "\nUid:\t";
  const auto line = contents.find(label);
  if (line == std::string_view::npos) return std::nullopt;
  contents.remove_prefix(line + label.size());
  // Real, effective, saved and file system user, separated by tabs.
  const auto tab = contents.find('\t');
  if (tab == std::string_view::npos) return std::nullopt;
  contents.remove_prefix(tab + 1);
  std::uint32_t user = 0;
  const auto parsed = std::from_chars(contents.data(), contents.data() + contents.size(), user);
  if (parsed.ec != std::errc()) return std::nullopt;
  return user;
}

}  // namespace qrt
