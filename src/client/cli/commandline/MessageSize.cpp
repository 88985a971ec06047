#include "client/cli/commandline/MessageSize.h"

#include "protocol/WireText.h"

namespace qrt {

std::size_t sizeInMessage(const PropertyValue& value) {
  constexpr std::size_t typeLengthAndPadding = 24;
  std::size_t size = typeLengthAndPadding;
  if (const auto* text = value.string()) size += encodeWireText(*text).size();
  if (const auto* data = value.data()) size += data->size();
  if (const auto* array = value.array()) {
    for (const auto& element : *array) size += sizeInMessage(element);
  }
  if (const auto* dictionary = value.dictionary()) {
    for (const auto& [key, element] : *dictionary)
      size += sizeInMessage(key) + sizeInMessage(element);
  }
  return size;
}

}  // namespace qrt
