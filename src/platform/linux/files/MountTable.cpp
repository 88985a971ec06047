#include "platform/linux/files/MountTable.h"

#include <algorithm>
#include <charconv>

namespace qrt {
namespace {

/// Removes the text up to the separator, and the separator, and returns that text.
std::string_view takeUntil(std::string_view& text, char separator) {
  const auto end = std::min(text.find(separator), text.size());
  const auto part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}

/// Blanks and the like are written as a backslash and three octal digits.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    unsigned code = 0;
    const auto digits = text.substr(std::min<std::size_t>(1, text.size()), 3);
    const auto* end = digits.data() + digits.size();
    const bool isEscape = text.front() == '\\' && digits.size() == 3 &&
                          std::from_chars(digits.data(), end, code, 8).ptr == end;
    result += isEscape ? static_cast<char>(code) : text.front();
    text.remove_prefix(isEscape ? 4 : 1);
  }
  return result;
}

}  // namespace

std::optional<std::string> mountPointIn(std::string_view table, std::uint64_t mountID) {
  const auto wanted = std::to_string(mountID);
  while (!table.empty()) {
    auto line = takeUntil(table, '\n');
    if (takeUntil(line, ' ') != wanted) continue;
    for (int field = 0; field < 3; ++field) takeUntil(line, ' ');  // Parent, device, root.
    return unescaped(takeUntil(line, ' '));
  }
  return std::nullopt;
}

std::optional<std::string> mountPointOfDevice(std::string_view table, std::string_view number,
                                              std::string_view path) {
  while (!table.empty()) {
    auto line = takeUntil(table, '\n');
    for (int field = 0; field < 2; ++field) takeUntil(line, ' ');  // Mount, parent.
    const auto device = takeUntil(line, ' ');
    takeUntil(line, ' ');  // Root.
    const auto place = takeUntil(line, ' ');
    constexpr std::string_view endOfOptions = " - ";
    line.remove_prefix(std::min(line.find(endOfOptions), line.size()));
    for (int field = 0; field < 3; ++field) takeUntil(line, ' ');  // The end, the type.
    if (device == number || takeUntil(line, ' ') == path) return unescaped(place);
  }
  return std::nullopt;
}

}  // namespace qrt
