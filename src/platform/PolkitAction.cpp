#include "platform/PolkitAction.h"

#include <algorithm>

#include "base/Utf8.h"

namespace qrt {
namespace {

constexpr std::string_view granted = "<allow_any>yes</allow_any>";
constexpr std::string_view end = "</action>";

std::string startOf(const std::string& right) { return "<action id=\"" + right + "\">"; }

std::string escaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    const auto bytes = text.substr(0, std::max<std::size_t>(character.length, 1));
    text.remove_prefix(bytes.size());
    if (character.length == 0 || character.codePoint < 0x20) {
      result += ' ';
    } else if (character.codePoint == '&') {
      result += "&amp;";
    } else if (character.codePoint == '<') {
      result += "&lt;";
    } else {
      result += bytes;
    }
  }
  return result;
}

}  // namespace

std::string polkitAction(const std::string& right, const PropertyValue& definition,
                         const std::string& description) {
  const auto* rule = definition.string();
  const std::string answer = rule && *rule == "allow" ? "yes" : "auth_admin";
  const auto text = escaped(description);
  // clang-format off
  return "  " + startOf(right) + "\n"
         "    <description>" + text + "</description>\n"
         "    <message>" + text + "</message>\n"
         "    <defaults>\n"
         "      <allow_any>" + answer + "</allow_any>\n"
         "      <allow_inactive>" + answer + "</allow_inactive>\n"
         "      <allow_active>" + answer + "</allow_active>\n"
         "    </defaults>\n"
         "  " + std::string(end) + "\n";
  // clang-format on
}

std::string polkitActionFile(std::string_view actions) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<policyconfig>\n" + std::string(actions) +
         "</policyconfig>\n";
}

std::optional<PropertyValue> definitionInPolkitFile(std::string_view file,
                                                    const std::string& right) {
  const auto start = file.find(startOf(right));
  if (start == std::string_view::npos) return std::nullopt;
  const auto action = file.substr(start, file.find(end, start) - start);
  if (action.find(granted) != std::string_view::npos) return PropertyValue("allow");
  return PropertyValue(Dictionary{{"rule", "default"}});
}

}  // namespace qrt
