#include "client/cli/output/Json.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "client/cli/output/SystemMessages.h"
#include "protocol/WireText.h"

namespace qrt {
namespace {

std::string base64(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(3, bytes.size()))) {
    std::uint32_t group = bytes[0] << 16;
    if (bytes.size() > 1) group |= bytes[1] << 8;
    if (bytes.size() > 2) group |= bytes[2];
    text.push_back(digits[group >> 18]);
    text.push_back(digits[group >> 12 & 63]);
    text.push_back(bytes.size() > 1 ? digits[group >> 6 & 63] : '=');
    text.push_back(bytes.size() > 2 ? digits[group & 63] : '=');
  }
  return text;
}

}  // namespace

Json jsonOf(const PropertyValue& value) {
  if (const auto* text = value.string()) return encodeWireText(*text);
  if (const auto* number = value.number()) {
    return std::visit([](auto plain) { return Json(plain); }, number->storage());
  }
  if (const auto* data = value.data()) return base64(*data);
  if (const auto* date = value.date()) return date->secondsSince1970;
  if (const auto* dictionary = value.dictionary()) return jsonOf(*dictionary);
  if (const auto* error = value.error()) return jsonOf(*error);
  auto array = Json::array();
  for (const auto& element : *value.array()) array.push_back(jsonOf(element));
  return array;
}

Json jsonOf(const Dictionary& dictionary) {
  auto object = Json::object();
  for (const auto& [key, value] : dictionary) object[encodeWireText(key)] = jsonOf(value);
  return object;
}

Json jsonOf(const Error& error) {
  auto object = Json::object();
  object["domain"] = encodeWireText(error.domain);
  object["code"] = error.code;
  object["description"] = encodeWireText(descriptionForPerson(error));
  if (const auto* suggestion = stringIn(error.userInfo, localizedRecoverySuggestionKey)) {
    object["suggestion"] = encodeWireText(*suggestion);
  }
  object["userInfo"] = jsonOf(error.userInfo);
  return object;
}

std::string lineOf(const Json& json) { return json.dump() + '\n'; }

}  // namespace qrt
