#include "client/cli/output/RecordText.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cstdint>
#include <ctime>
#include <iterator>
#include <string_view>

#include "base/Printable.h"
#include "client/cli/output/SizeText.h"
#include "protocol/Names.h"

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
  const auto* type = stringIn(record, file_object_key::type);
  std::string text(1, typeLetter(type ? *type : ""));
  const auto* mode = valueIn(record, file_object_key::mode);
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
  const auto* value = valueIn(record, file_object_key::size);
  return value && value->number() ? sizeText(value->number()->asUInt64()) : "-";
}

std::string lastChange(const Dictionary& record) {
  const auto* value = valueIn(record, file_object_key::modificationDate);
  if (!value || !value->date()) return "-";
  const auto seconds = static_cast<std::time_t>(Number(value->date()->secondsSince1970).asInt64());
  std::tm local;
  // Unlike std::localtime and std::strftime, which look at the file of the time zone each time.
  if (!localtime_r(&seconds, &local)) return "-";
  constexpr std::int64_t firstYear = 1900;
  return fmt::format(FMT_COMPILE("{}-{:02}-{:02} {:02}:{:02}"), local.tm_year + firstYear,
                     local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min);
}

}  // namespace

void appendRecordText(std::string& lines, const Dictionary& record) {
  const auto* path = stringIn(record, file_object_key::path);
  fmt::format_to(std::back_inserter(lines), FMT_COMPILE("{:10}  {:>6}  {:16}  {}\n"),
                 permissions(record), size(record), lastChange(record),
                 path ? printable(*path) : "-");
}

}  // namespace qrt
