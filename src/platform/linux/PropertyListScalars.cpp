#include "platform/linux/PropertyListScalars.h"

#include <sodium.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace qrt {
namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(propertyListBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(propertyListBlanks) - first + 1);
}

/// The whole of `text`, or nothing.
template <class T, class... Format>
std::optional<T> parsed(std::string_view text, Format... format) {
  T value{};
  const char* const end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, value, format...);
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

}  // namespace

std::optional<Number> integerFromText(std::string_view text) {
  text = trimmed(text);
  const bool negative = takeSign(text);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  const auto magnitude = parsed<std::uint64_t>(text, hexadecimal ? 16 : 10);
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
  if (text.starts_with('-')) return std::nullopt;
  const auto magnitude = parsed<double>(text, std::chars_format::general);
  if (!magnitude) return std::nullopt;
  return negative ? -*magnitude : *magnitude;
}

std::string textFromReal(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-infinity" : "+infinity";
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
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
  Data data(text.size() / 2 + 1);  // The decoder wants a place even for nothing.
  std::size_t size = 0;
  const int status = sodium_hex2bin(data.data(), data.size(), text.data(), text.size(),
                                    propertyListBlanks, &size, nullptr);
  if (status != 0) return std::nullopt;
  data.resize(size);
  return data;
}

std::optional<Data> dataFromBase64Text(std::string_view text) {
  Data data(text.size() / 4 * 3 + 3);
  std::size_t size = 0;
  const int status =
      sodium_base642bin(data.data(), data.size(), text.data(), text.size(), propertyListBlanks,
                        &size, nullptr, sodium_base64_VARIANT_ORIGINAL);
  if (status != 0) return std::nullopt;
  data.resize(size);
  return data;
}

std::string base64TextFromData(const std::uint8_t* bytes, std::size_t size) {
  std::string text(sodium_base64_encoded_len(size, sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes, size, sodium_base64_VARIANT_ORIGINAL);
  text.pop_back();  // The terminator that the encoder counts.
  return text;
}

}  // namespace qrt
