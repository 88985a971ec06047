#include "platform/linux/wire/WireWriter.h"

#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <variant>

#include "protocol/Names.h"
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

/// Appending in one go would refuse the characters U+10FFFE and U+10FFFF.
int appendText(sd_bus_message* message, std::string_view text) {
  char* space = nullptr;
  const int result = sd_bus_message_append_string_space(message, text.size(), &space);
  if (result >= 0) std::memcpy(space, text.data(), text.size());
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

template <class T>
requires std::is_arithmetic_v<T>
int appendVariant(sd_bus_message* message, T number) {
  if constexpr (std::same_as<T, bool>) {
    return sd_bus_message_append(message, "v", "b", static_cast<int>(number));
  } else if constexpr (std::floating_point<T>) {
    return sd_bus_message_append(message, "v", "d", double{number});
  } else if constexpr (std::is_signed_v<T>) {
    return sd_bus_message_append(message, "v", "x", std::int64_t{number});
  } else {
    return sd_bus_message_append(message, "v", "t", std::uint64_t{number});
  }
}

int appendVariant(sd_bus_message* message, const Number& number) {
  return std::visit([message](auto value) { return appendVariant(message, value); },
                    number.storage());
}

int appendVariant(sd_bus_message* message, Date date) {
  return sd_bus_message_append(message, "v", "(d)", date.secondsSince1970);
}

int appendVariant(sd_bus_message* message, std::string_view text) {
  return inContainer(message, 'v', "s", [&] { return appendString(message, text); });
}

int appendVariant(sd_bus_message* message, const PropertyValue& value) {
  if (const auto* number = value.number()) return appendVariant(message, *number);
  if (const auto* date = value.date()) return appendVariant(message, *date);
  if (const auto* text = value.string()) return appendVariant(message, std::string_view(*text));
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

/// `append` appends the value.
template <class Append>
int appendEntry(sd_bus_message* message, std::string_view key, Append append) {
  return inContainer(message, 'e', "sv",
                     [&] { return sequence([&] { return appendString(message, key); }, append); });
}

int appendRecord(sd_bus_message* message, const FileObjectRecord& record) {
  return inContainer(message, 'a', "{sv}", [&] {
    int result = 0;
    forEachEntry(record, [&](std::string_view key, const auto& value) {
      if (result < 0) return;
      result = appendEntry(message, key, [&] { return appendVariant(message, value); });
    });
    return result;
  });
}

int appendRecords(sd_bus_message* message, const FileObjectRecords& records) {
  return inContainer(message, 'a', "v", [&] {
    int result = 0;
    for (std::size_t i = 0; i < records.count() && result >= 0; ++i) {
      result =
          inContainer(message, 'v', "a{sv}", [&] { return appendRecord(message, records[i]); });
    }
    return result;
  });
}

}  // namespace

int appendString(sd_bus_message* message, std::string_view bytes) {
  return isWireText(bytes) ? appendText(message, bytes)
                           : appendText(message, encodeWireText(bytes));
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
      result =
          appendEntry(message, entry->first, [&] { return appendVariant(message, entry->second); });
    }
    return result;
  });
}

int appendFeedback(sd_bus_message* message, const FeedbackMessage& feedback) {
  const auto* found = std::get_if<RecordsMessage>(&feedback);
  if (!found) return appendDictionary(message, std::get<Dictionary>(feedback));
  const auto appendList = [&] {
    return inContainer(message, 'v', "av", [&] { return appendRecords(message, found->records); });
  };
  const auto appendFraction = [&] { return appendVariant(message, found->fraction); };
  return inContainer(message, 'a', "{sv}", [&] {
    return sequence([&] { return appendEntry(message, fileObjectInfoKey, appendList); },
                    [&] { return appendEntry(message, progressFractionKey, appendFraction); });
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
