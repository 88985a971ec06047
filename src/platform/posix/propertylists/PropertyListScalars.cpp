#include "platform/posix/propertylists/PropertyListScalars.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "base/CaseInsensitive.h"

namespace qrt {
namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(propertyListBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(propertyListBlanks) - first + 1);
}

/// The whole of `text`, or nothing.
std::optional<std::uint64_t> wholeInteger(std::string_view text, int base) {
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, value, base);
  if (problem != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// Takes a sign off the front; true when it was a minus.
bool takeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  return negative;
}

/// The numbers where `pattern` has runs of 'd'; every other character must be the pattern's own.
template <std::size_t count>
std::optional<std::array<int, count>> numbersIn(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return std::nullopt;
  std::array<int, count> numbers{};
  std::size_t number = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (pattern[i] != 'd') {
      if (text[i] != pattern[i]) return std::nullopt;
      ++number;
      continue;
    }
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    numbers[number] = numbers[number] * 10 + (text[i] - '0');
  }
  return numbers;
}

std::optional<Date> utcDate(int year, int month, int day, int hour, int minute, int second) {
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const auto days = std::chrono::sys_days(date).time_since_epoch().count();
  return Date{days * 86400.0 + hour * 3600 + minute * 60 + second};
}

/// A real number without sign. Numbers keep the locale "C" in the programs here: a dot is the
/// separator.
std::optional<double> magnitudeFromText(std::string_view text) {
  constexpr std::string_view decimal = "0123456789.eE+-";
  constexpr std::string_view firsts = "0123456789.";
  const auto isWord = [text](std::string_view word) {
    return compareIgnoringCase(text, word) == 0;
  };
  if (isWord("nan")) return std::nan("");
  if (isWord("inf") || isWord("infinity")) return HUGE_VAL;
  if (text.empty() || firsts.find(text.front()) == std::string_view::npos) return std::nullopt;
  if (text.find_first_not_of(decimal) != std::string_view::npos) return std::nullopt;
  const std::string terminated(text);
  char* stop = nullptr;
  const double value = std::strtod(terminated.c_str(), &stop);
  const bool isWhole = stop == terminated.c_str() + terminated.size();
  if (!isWhole || std::isinf(value)) return std::nullopt;
  return value;
}

}  // namespace

std::optional<Number> integerFromText(std::string_view text) {
  text = trimmed(text);
  const bool negative = takeSign(text);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  const auto magnitude = wholeInteger(text, hexadecimal ? 16 : 10);
  if (!magnitude) return std::nullopt;

  constexpr std::uint64_t signBit = std::uint64_t{1} << 63;
  if (negative) {
    if (*magnitude > signBit) return std::nullopt;
    return Number(static_cast<std::int64_t>(0 - *magnitude));
  }
  if (*magnitude < signBit) return Number(static_cast<std::int64_t>(*magnitude));
  return Number(*magnitude);
}

std::optional<double> realFromText(std::string_view text) {
  text = trimmed(text);
  const bool negative = takeSign(text);
  const auto magnitude = magnitudeFromText(text);
  if (!magnitude) return std::nullopt;
  return negative ? -*magnitude : *magnitude;
}

std::string textFromReal(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-infinity" : "+infinity";
  constexpr int digitsThatSuffice = 17;
  std::array<char, 32> text;
  for (int digits = 1; digits <= digitsThatSuffice; ++digits) {
    std::snprintf(text.data(), text.size(), "%.*g", digits, value);
    if (std::strtod(text.data(), nullptr) == value) break;
  }
  return text.data();
}

std::optional<Date> dateFromIsoText(std::string_view text) {
  const auto n = numbersIn<6>(trimmed(text), "dddd-dd-ddTdd:dd:ddZ");
  if (!n) return std::nullopt;
  const auto [year, month, day, hour, minute, second] = *n;
  return utcDate(year, month, day, hour, minute, second);
}

std::optional<std::string> isoTextFromDate(Date date) {
  constexpr double beginOfYear0 = -62167219200;
  constexpr double beginOfYear10000 = 253402300800;
  const bool inRange =
      date.secondsSince1970 >= beginOfYear0 && date.secondsSince1970 < beginOfYear10000;
  if (!inRange) return std::nullopt;

  using namespace std::chrono;
  const sys_seconds moment{seconds(static_cast<std::int64_t>(std::floor(date.secondsSince1970)))};
  const auto midnight = floor<days>(moment);
  const year_month_day day(midnight);
  const hh_mm_ss time(moment - midnight);
  std::array<char, 24> text;
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(day.year()),
      static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()));
  return std::string(text.data(), static_cast<std::size_t>(length));
}

std::optional<Date> dateFromZonedText(std::string_view text) {
  text = trimmed(text);
  const bool west = text.find(" -") != std::string_view::npos;
  const auto n =
      numbersIn<8>(text, west ? "dddd-dd-dd dd:dd:dd -dddd" : "dddd-dd-dd dd:dd:dd +dddd");
  if (!n) return std::nullopt;
  const auto [year, month, day, hour, minute, second, blank, zone] = *n;
  auto date = utcDate(year, month, day, hour, minute, second);
  if (!date) return std::nullopt;
  const int offset = (zone / 100 * 60 + zone % 100) * 60;
  date->secondsSince1970 += west ? offset : -offset;
  return date;
}

std::optional<Data> dataFromHexText(std::string_view text) {
  Data data;
  std::string_view rest = trimmed(text);
  while (!rest.empty()) {
    const auto byte = rest.size() < 2 ? std::nullopt : wholeInteger(rest.substr(0, 2), 16);
    if (!byte) return std::nullopt;
    data.push_back(static_cast<std::uint8_t>(*byte));
    rest = trimmed(rest.substr(2));
  }
  return data;
}

}  // namespace qrt
