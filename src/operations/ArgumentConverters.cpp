#include "operations/ArgumentConverters.h"

#include <charconv>
#include <cstdint>
#include <limits>

#include "base/Utf8.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/PropertyLists.h"

namespace qrt {
namespace {

void skipWhiteSpace(std::string_view& text) {
  const auto begin = text.find_first_not_of(" \t\n\v\f\r");
  text.remove_prefix(begin == std::string_view::npos ? text.size() : begin);
}

/// Saturates.
std::int64_t integerValue(std::string_view text) {
  skipWhiteSpace(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return 0;
  }
  std::int64_t value = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  if (parsed.ec != std::errc::result_out_of_range) return value;
  return text.starts_with('-') ? std::numeric_limits<std::int64_t>::min()
                               : std::numeric_limits<std::int64_t>::max();
}

/// Takes "%" and a hexadecimal number below 256.
std::optional<std::uint8_t> takeByte(std::string_view& text) {
  if (!text.starts_with('%')) return std::nullopt;
  text.remove_prefix(1);
  skipWhiteSpace(text);
  std::uint8_t byte = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), byte, 16);
  if (parsed.ec != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
  return byte;
}

std::optional<Data> dataValue(std::string_view text) {
  const auto maximumBytes = utf16Length(text) / 3;
  if (maximumBytes == 0) return std::nullopt;
  Data bytes;
  while (bytes.size() < maximumBytes && !text.empty()) {
    const auto byte = takeByte(text);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace

bool getBool(bool* value, const std::string& fromStringArgument) {
  if (fromStringArgument != "0" && fromStringArgument != "1") return false;
  if (value) *value = fromStringArgument == "1";
  return true;
}

std::optional<std::vector<std::string>> stringsIn(const Array& arguments) {
  std::vector<std::string> strings;
  strings.reserve(arguments.size());
  for (const auto& argument : arguments) {
    const auto* string = argument.string();
    if (string == nullptr) return std::nullopt;
    strings.push_back(*string);
  }
  return strings;
}

std::optional<PropertyValue> copyCoreFoundationValueWithType(
    CoreFoundationType type, const std::optional<std::string>& forValueInString) {
  if (!forValueInString) return std::nullopt;
  const auto& text = *forValueInString;
  switch (type) {
    case CoreFoundationType::boolean:
      if (text != "true" && text != "false") return std::nullopt;
      return text == "true";
    case CoreFoundationType::number:
      return integerValue(text);
    case CoreFoundationType::string:
      return text;
    case CoreFoundationType::data:
      return dataValue(text);
    case CoreFoundationType::other:
      return std::nullopt;
  }
  return std::nullopt;
}

Result<std::optional<PropertyValue>> valueFromText(const std::string& text) {
  if (text.empty()) return std::optional<PropertyValue>();
  auto value = readPropertyList({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  if (!value) return withUnderlyingError(posixError(PosixCode::invalidArgument), value.error());
  return std::optional<PropertyValue>(std::move(*value));
}

}  // namespace qrt
