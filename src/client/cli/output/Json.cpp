#include "client/cli/output/Json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <variant>

#include "base/Base64.h"
#include "base/Printable.h"
#include "base/Utf8.h"
#include "client/cli/output/SystemMessages.h"
#include "protocol/WireText.h"

namespace qrt {

Json jsonOf(const PropertyValue& value) {
  if (const auto* text = value.string()) return encodeWireText(*text);
  if (const auto* number = value.number()) {
    return std::visit([](auto plain) { return Json(plain); }, number->storage());
  }
  if (const auto* data = value.data()) return base64TextFromData(data->data(), data->size());
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

std::string lineOf(const Json& json) {
  const auto text = json.dump();
  std::string line;
  for (std::string_view rest = text; !rest.empty();) {
    const auto character = firstUtf8Character(rest);
    const auto bytes = rest.substr(0, std::max<std::size_t>(character.length, 1));
    if (isPrintable(character.codePoint)) {
      line += bytes;
    } else {
      line += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(character.codePoint));
    }
    rest.remove_prefix(bytes.size());
  }
  return line + '\n';
}

}  // namespace qrt
