#include "platform/linux/wire/WireWriter.h"

#include <cstring>

#include "protocol/WireText.h"

namespace qrt::wire {
namespace {

/// Stops at the first step that fails.
template <class... Steps>
int sequence(Steps... steps) {
  int result = 0;
  static_cast<void>(((result = steps(), result >= 0) && ...));
  return result;
}

template <class Body>
int inContainer(sd_bus_message* message, char type, const char* contents, Body body) {
  return sequence([&] { return sd_bus_message_open_container(message, type, contents); }, body,
                  [&] { return sd_bus_message_close_container(message); });
}

int appendError(sd_bus_message* message, const Error& error) {
  return inContainer(message, 'r', "sxa{sv}", [&] {
    return sequence([&] { return appendString(message, error.domain); },
                    [&] { return sd_bus_message_append_basic(message, 'x', &error.code); },
                    [&] { return appendDictionary(message, error.userInfo); });
  });
}

int appendNumber(sd_bus_message* message, const Number& number) {
  return std::visit(
      [message](auto value) {
        using T = decltype(value);
        if constexpr (std::same_as<T, bool>) {
          return sd_bus_message_append(message, "v", "b", static_cast<int>(value));
        } else if constexpr (std::same_as<T, double>) {
          return sd_bus_message_append(message, "v", "d", value);
        } else {
          return sd_bus_message_append(message, "v", std::is_signed_v<T> ? "x" : "t", value);
        }
      },
      number.storage());
}

int appendVariant(sd_bus_message* message, const PropertyValue& value) {
  if (const auto* number = value.number()) return appendNumber(message, *number);
  if (const auto* date = value.date()) {
    return sd_bus_message_append(message, "v", "(d)", date->secondsSince1970);
  }
  if (const auto* text = value.string()) {
    return inContainer(message, 'v', "s", [&] { return appendString(message, *text); });
  }
  if (const auto* data = value.data()) {
    return inContainer(message, 'v', "ay", [&] { return appendData(message, *data); });
  }
  if (const auto* array = value.array()) {
    return inContainer(message, 'v', "av", [&] { return appendArray(message, *array); });
  }
  if (const auto* dictionary = value.dictionary()) {
    return inContainer(message, 'v', "a{sv}",
                       [&] { return appendDictionary(message, *dictionary); });
  }
  return inContainer(message, 'v', "(sxa{sv})",
                     [&] { return appendError(message, *value.error()); });
}

}  // namespace

int appendString(sd_bus_message* message, std::string_view bytes) {
  const auto text = encodeWireText(bytes);
  // Appending in one go would refuse the characters U+10FFFE and U+10FFFF.
  char* space = nullptr;
  const int result = sd_bus_message_append_string_space(message, text.size(), &space);
  if (result >= 0) std::memcpy(space, text.data(), text.size());
  return result;
}

int appendData(sd_bus_message* message, const Data& data) {
  return sd_bus_message_append_array(message, 'y', data.data(), data.size());
}

int appendArray(sd_bus_message* message, const Array& array) {
  return inContainer(message, 'a', "v", [&] {
    int result = 0;
    for (auto element = array.begin(); element != array.end() && result >= 0; ++element) {
      result = appendVariant(message, *element);
    }
    return result;
  });
}

int appendDictionary(sd_bus_message* message, const Dictionary& dictionary) {
  return inContainer(message, 'a', "{sv}", [&] {
    int result = 0;
    for (auto entry = dictionary.begin(); entry != dictionary.end() && result >= 0; ++entry) {
      result = inContainer(message, 'e', "sv", [&] {
        return sequence([&] { return appendString(message, entry->first); },
                        [&] { return appendVariant(message, entry->second); });
      });
    }
    return result;
  });
}

int appendOutcome(sd_bus_message* message, const Outcome& outcome) {
  const Error nothing;
  const Error& error = outcome ? *outcome : nothing;
  return sequence([&] { return appendString(message, error.domain); },
                  [&] { return sd_bus_message_append_basic(message, 'x', &error.code); },
                  [&] { return appendDictionary(message, error.userInfo); });
}

}  // namespace qrt::wire
