#include "client/cli/output/RecordText.h"

#include <fmt/format.h>

#include <cstdint>
#include <ctime>
#include <string_view>

#include "base/Printable.h"
#include "client/cli/output/SizeText.h"

namespace qrt {
namespace {

/// Shown in the place of "x", as a capital letter when "x" is not set.
struct SpecialBit {
  std::uint64_t bit;
  std::size_t position;
  char letter;
};

constexpr SpecialBit specialBits[] = {{04000, 3, 's'}, {02000, 6, 's'}, {01000, 9, 't'}};

const PropertyValue* valueIn(const Dictionary& record, std::string_view key) {
  const auto found = record.find(key);
  return found == record.end() ? nullptr : &found->second;
}

char typeLetter(std::string_view type) {
  if (type == "NSFileTypeRegular") return '-';
  if (type == "NSFileTypeDirectory") return 'd';
  if (type == "NSFileTypeSymbolicLink") return 'l';
  if (type == "NSFileTypeSocket") return 's';
  if (type == "NSFileTypeCharacterSpecial") return 'c';
  if (type == "NSFileTypeBlockSpecial") return 'b';
  return '?';
}

std::string permissions(const Dictionary& record) {
  const auto* type = stringIn(record, "Type");
  std::string text(1, typeLetter(type ? *type : ""));
  const auto* mode = valueIn(record, "Mode");
  if (!mode || !mode->number()) return text;
  const auto bits = mode->number()->asUInt64();
  constexpr std::string_view letters = "rwxrwxrwx";
  for (std::size_t i = 0; i < letters.size(); ++i) {
    text.push_back(bits & (0400u >> i) ? letters[i] : '-');
  }
  for (const auto& [bit, position, letter] : specialBits) {
    if ((bits & bit) == 0) continue;
    const bool isExecutable = text[position] == 'x';
    text[position] = isExecutable ? letter : static_cast<char>(letter - 'a' + 'A');
  }
  return text;
}

std::string size(const Dictionary& record) {
  const auto* value = valueIn(record, "Size");
  return value && value->number() ? sizeText(value->number()->asUInt64()) : "-";
}

std::string lastChange(const Dictionary& record) {
  const auto* value = valueIn(record, "ModificationDate");
  if (!value || !value->date()) return "-";
  const auto seconds = static_cast<std::time_t>(Number(value->date()->secondsSince1970).asInt64());
  const auto* local = std::localtime(&seconds);
  char text[32];
  if (!local || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", local) == 0) return "-";
  return text;
}

}  // namespace

std::string recordText(const Dictionary& record) {
  const auto* path = stringIn(record, "Path");
  return fmt::format("{:10}  {:>6}  {:16}  {}\n", permissions(record), size(record),
                     lastChange(record), path ? printable(*path) : "-");
}

}  // namespace qrt
