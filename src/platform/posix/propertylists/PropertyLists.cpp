#include "platform/PropertyLists.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/Utf8.h"
#include "platform/posix/propertylists/BinaryPropertyListReader.h"
#include "platform/posix/propertylists/PropertyListProblem.h"
#include "platform/posix/propertylists/PropertyListScalars.h"
#include "platform/posix/propertylists/TextPropertyListReader.h"
#include "platform/posix/propertylists/Utf16.h"
#include "platform/posix/propertylists/XmlPropertyListReader.h"

namespace qrt {
namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view bigEndianMark = "\xFE\xFF";
constexpr std::string_view littleEndianMark = "\xFF\xFE";

/// Old-style data begins with "<" too, but its hexadecimal digits spell none of these names.
constexpr std::string_view xmlBeginnings[] = {"<?xml",  "<!DOCTYPE", "<!--",    "<plist",   "<dict",
                                              "<array", "<key",      "<string", "<integer", "<real",
                                              "<date",  "<data",     "<true",   "<false"};

bool isXml(std::string_view text) {
  return std::any_of(std::begin(xmlBeginnings), std::end(xmlBeginnings),
                     [&](auto beginning) { return text.starts_with(beginning); });
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(propertyListBlanks), text.size()));
}

/// Reads either text form. `marked` when a byte order mark announced the encoding.
Result<PropertyValue> readText(std::string_view text, bool marked) {
  const auto content = withoutLeadingBlanks(text);
  if (isXml(content)) {
    return readXmlPropertyList(content, marked ? XmlEncoding::utf8 : XmlEncoding::declared);
  }
  if (!isValidUtf8(text)) return unreadablePropertyList({"it is not valid UTF-8"});
  if (text.find('\0') != std::string_view::npos) {
    return unreadablePropertyList({"it has a null character"});
  }
  return readTextPropertyList(text);
}

Result<PropertyValue> readUtf16(std::span<const std::uint8_t> bytes, std::endian order) {
  const auto text = utf8FromUtf16(bytes.subspan(bigEndianMark.size()), order);
  if (!text) return unreadablePropertyList({"it is not valid UTF-16"});
  return readText(*text, true);
}

}  // namespace

Result<PropertyValue> readPropertyList(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > maximumPropertyListBytes) return unreadablePropertyList({"it is too large"});
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with(binaryPropertyListMagic)) return readBinaryPropertyList(bytes);
  if (text.starts_with(bigEndianMark)) return readUtf16(bytes, std::endian::big);
  if (text.starts_with(littleEndianMark)) return readUtf16(bytes, std::endian::little);
  if (text.starts_with(utf8Mark)) return readText(text.substr(utf8Mark.size()), true);
  return readText(text, false);
}

}  // namespace qrt
