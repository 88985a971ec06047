// Property lists in the shape that tests compare them in.
#pragma once

#include <string>
#include <string_view>

#include "platform/PropertyLists.h"

namespace qrt::test {

inline Result<PropertyValue> parsed(std::string_view bytes) {
  return readPropertyList({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

inline std::string bigEndian(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

/// A binary list of the objects as they lie in the file.
inline std::string binaryList(const std::vector<std::string>& objects, int referenceWidth,
                              std::uint64_t root = 0) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const auto table = bytes.size();
  return bytes + offsets + bigEndian(4, 7) + bigEndian(static_cast<unsigned>(referenceWidth), 1) +
         bigEndian(objects.size(), 8) + bigEndian(root, 8) + bigEndian(table, 8);
}

/// The list as XML, which unlike the values' own equality tells 1, 1.0 and true apart; for an error
/// its code and description.
inline std::string shown(const Result<PropertyValue>& list) {
  const auto text = list ? writeXmlPropertyList(*list) : Result<std::string>(list.error());
  if (text) return *text;
  return "error " + std::to_string(text.error().code) + ": " + descriptionOf(text.error());
}

}  // namespace qrt::test
