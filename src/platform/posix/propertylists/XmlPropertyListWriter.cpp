#include "platform/PropertyLists.h"

#include <algorithm>
#include <string_view>
#include <variant>

#include "base/Base64.h"
#include "base/Utf8.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListScalars.h"
#include "platform/posix/propertylists/PropertyListTally.h"

namespace qrt {
namespace {

using Problem = PropertyListProblem;

constexpr std::string_view prologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\""
    " \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view epilogue = "</plist>\n";

/// For lines of 76 characters.
constexpr std::size_t dataBytesPerLine = 57;

bool xmlCanHold(Utf8Character character) {
  if (character.length == 0) return false;
  if (character.codePoint < 0x20) {
    return character.codePoint == '\t' || character.codePoint == '\n' ||
           character.codePoint == '\r';
  }
  return character.codePoint != 0xFFFE && character.codePoint != 0xFFFF;
}

/// The escape sequence of a character; empty when the character needs none.
std::string_view escaped(char32_t character) {
  switch (character) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";  // A reader would make it a line feed.
    default:
      return {};
  }
}

class XmlWriter {
 public:
  Result<std::string> write(const PropertyValue& root) {
    xml_ = prologue;
    auto problem = value(root);
    xml_ += epilogue;
    if (!problem) problem = checkSize();
    if (problem) return unwritablePropertyList(*problem);
    return std::move(xml_);
  }

 private:
  PropertyListCheck value(const PropertyValue& value) {
    if (const auto* content = value.array()) return array(*content);
    if (const auto* content = value.dictionary()) return dictionary(*content);
    if (auto problem = tally_.add(0)) return problem;
    if (const auto* text = value.string()) return element("string", *text);
    if (const auto* content = value.number()) return number(*content);
    if (const auto* content = value.data()) return data(*content);
    if (const auto* content = value.date()) return date(*content);
    return Problem{"it has an error object"};
  }

  PropertyListCheck number(const Number& number) {
    struct Visitor {
      XmlWriter& writer;
      PropertyListCheck operator()(bool value) const {
        return writer.line(value ? "<true/>" : "<false/>");
      }
      PropertyListCheck operator()(std::int64_t value) const {
        return writer.element("integer", std::to_string(value));
      }
      PropertyListCheck operator()(std::uint64_t value) const {
        return writer.element("integer", std::to_string(value));
      }
      PropertyListCheck operator()(double value) const {
        return writer.element("real", textFromReal(value));
      }
    };
    return std::visit(Visitor{*this}, number.storage());
  }

  PropertyListCheck date(Date date) {
    const auto text = isoTextFromDate(date);
    if (!text) return Problem{"it has a date outside of the years 0 to 9999"};
    return element("date", *text);
  }

  PropertyListCheck data(const Data& data) {
    if (auto problem = line("<data>")) return problem;
    for (std::size_t i = 0; i < data.size(); i += dataBytesPerLine) {
      const std::size_t size = std::min(dataBytesPerLine, data.size() - i);
      if (auto problem = line(base64TextFromData(&data[i], size))) return problem;
    }
    return line("</data>");
  }

  PropertyListCheck array(const Array& array) {
    return collection("array", array, [this](const PropertyValue& item) { return value(item); });
  }

  PropertyListCheck dictionary(const Dictionary& dictionary) {
    return collection("dict", dictionary, [this](const auto& item) -> PropertyListCheck {
      if (auto problem = tally_.add(0)) return problem;
      if (auto problem = element("key", item.first)) return problem;
      return value(item.second);
    });
  }

  template <class Content, class WriteItem>
  PropertyListCheck collection(const std::string& name, const Content& content,
                               WriteItem writeItem) {
    if (auto problem = line("<" + name + (content.empty() ? "/>" : ">"))) return problem;
    if (auto problem = tally_.begin()) return problem;
    for (const auto& item : content) {
      if (auto problem = writeItem(item)) return problem;
    }
    tally_.end();
    if (content.empty()) return {};
    return line("</" + name + ">");
  }

  PropertyListCheck line(std::string_view content) {
    xml_.append(tally_.depth(), '\t').append(content).push_back('\n');
    return checkSize();
  }

  PropertyListCheck element(std::string_view name, std::string_view text) {
    xml_.append(tally_.depth(), '\t').append("<").append(name).append(">");
    if (auto problem = appendText(text)) return problem;
    xml_.append("</").append(name).append(">\n");
    return checkSize();
  }

  PropertyListCheck appendText(std::string_view text) {
    while (!text.empty()) {
      const auto character = firstUtf8Character(text);
      if (!xmlCanHold(character)) return Problem{"it has text that XML cannot hold"};
      const auto escape = escaped(character.codePoint);
      xml_.append(escape.empty() ? text.substr(0, character.length) : escape);
      text.remove_prefix(character.length);
    }
    return {};
  }

  PropertyListCheck checkSize() const {
    if (xml_.size() > maximumPropertyListBytes) return Problem{"it is too large"};
    return {};
  }

  std::string xml_;
  PropertyListTally tally_;
};

}  // namespace

Result<std::string> writeXmlPropertyList(const PropertyValue& value) {
  return XmlWriter().write(value);
}

}  // namespace qrt
