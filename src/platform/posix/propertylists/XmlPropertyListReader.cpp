#include "platform/posix/propertylists/XmlPropertyListReader.h"

#include <expat.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "base/Base64.h"
#include "platform/posix/propertylists/PropertyListBuilder.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListScalars.h"

namespace qrt {
namespace {

using Problem = PropertyListProblem;
using Scalar = Result<PropertyValue, Problem>;

template <auto parse>
Scalar scalarFrom(std::string text) {
  if (auto value = parse(text)) return PropertyValue(*std::move(value));
  return Problem{"an element's text is not of the element's kind"};
}

template <bool value>
Scalar constant(std::string text) {
  if (text.find_first_not_of(propertyListBlanks) == std::string::npos) return PropertyValue(value);
  return Problem{"text in an empty element"};
}

/// An element that holds text and no elements.
struct Leaf {
  std::string_view name;
  /// Null for `key`, which is not a value.
  Scalar (*value)(std::string text);
};

constexpr Leaf leaves[] = {
    {"key", nullptr},
    {"string", [](std::string text) -> Scalar { return PropertyValue(std::move(text)); }},
    {"integer", scalarFrom<integerFromText>},
    {"real", scalarFrom<realFromText>},
    {"date", scalarFrom<dateFromIsoText>},
    {"data", scalarFrom<dataFromBase64Text>},
    {"true", constant<true>},
    {"false", constant<false>},
};

const Leaf* leafNamed(std::string_view name) {
  for (const auto& leaf : leaves) {
    if (leaf.name == name) return &leaf;
  }
  return nullptr;
}

/// Receives the parser's events. The parser guarantees that elements are balanced.
class XmlReader {
 public:
  explicit XmlReader(XmlEncoding encoding)
      : parser_(XML_ParserCreate(encoding == XmlEncoding::utf8 ? "UTF-8" : nullptr)) {
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), elementBegins, elementEnds);
    XML_SetCharacterDataHandler(parser_.get(), characters);
    XML_SetStartDoctypeDeclHandler(parser_.get(), documentType);
    XML_SetSkippedEntityHandler(parser_.get(), unknownEntity);
  }

  Result<PropertyValue> read(std::string_view text) {
    const auto status =
        XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
    if (problem_) return unreadable(*problem_);
    if (status != XML_STATUS_OK) {
      return unreadable({XML_ErrorString(XML_GetErrorCode(parser_.get()))});
    }
    auto root = builder_.finish();
    if (!root) return unreadable(root.error());
    return std::move(*root);
  }

 private:
  struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  using Step = PropertyListCheck (XmlReader::*)(std::string_view);

  static void elementBegins(void* reader, const char* name, const char**) {
    take(reader, &XmlReader::begin, name);
  }

  static void elementEnds(void* reader, const char* name) { take(reader, &XmlReader::end, name); }

  static void characters(void* reader, const char* text, int length) {
    take(reader, &XmlReader::append, {text, static_cast<std::size_t>(length)});
  }

  static void documentType(void* reader, const char* name, const char*, const char*,
                           int hasDeclarations) {
    if (hasDeclarations != 0) take(reader, &XmlReader::refuseDeclarations, name);
  }

  static void unknownEntity(void* reader, const char* name, int) {
    take(reader, &XmlReader::refuseEntity, name);
  }

  /// The parser sends more events after it was stopped; only the first problem is reported.
  static void take(void* reader, Step step, std::string_view text) {
    auto& self = *static_cast<XmlReader*>(reader);
    if (self.problem_) return;
    self.problem_ = (self.*step)(text);
    if (self.problem_) XML_StopParser(self.parser_.get(), XML_FALSE);
  }

  PropertyListCheck begin(std::string_view name) {
    const bool isRoot = !std::exchange(rootSeen_, true);
    if (leaf_) return Problem{"an element inside of a simple value"};
    leaf_ = leafNamed(name);
    if (leaf_) return {};
    if (name == "dict") return builder_.beginDictionary();
    if (name == "array") return builder_.beginArray();
    if (name == "plist" && isRoot) return {};
    return Problem{"an unknown element"};
  }

  PropertyListCheck end(std::string_view name) {
    if (leaf_) return endLeaf();
    if (name == "plist") return {};
    return builder_.end();
  }

  PropertyListCheck endLeaf() {
    const auto& leaf = *std::exchange(leaf_, nullptr);
    std::string text = std::exchange(text_, {});
    if (!leaf.value) return builder_.key(std::move(text));
    auto value = leaf.value(std::move(text));
    if (!value) return value.error();
    return builder_.add(std::move(*value));
  }

  PropertyListCheck append(std::string_view text) {
    if (leaf_) {
      text_.append(text);
      return {};
    }
    if (text.find_first_not_of(propertyListBlanks) == std::string_view::npos) return {};
    return Problem{"text outside of a value"};
  }

  PropertyListCheck refuseDeclarations(std::string_view) {
    return Problem{"its document type has declarations of its own"};
  }

  PropertyListCheck refuseEntity(std::string_view) { return Problem{"an unknown entity"}; }

  Error unreadable(Problem problem) const {
    return unreadablePropertyList(
        problem, "line " + std::to_string(XML_GetCurrentLineNumber(parser_.get())));
  }

  std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> parser_;
  PropertyListBuilder builder_;
  PropertyListCheck problem_;
  const Leaf* leaf_ = nullptr;  ///< The simple value that is being read.
  std::string text_;            ///< What it holds so far.
  bool rootSeen_ = false;
};

}  // namespace

Result<PropertyValue> readXmlPropertyList(std::string_view text, XmlEncoding encoding) {
  return XmlReader(encoding).read(text);
}

}  // namespace qrt
