// The values in requests, replies, feedback and property lists.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "base/Number.h"

namespace qrt {

struct Error;
class PropertyValue;

using Data = std::vector<std::uint8_t>;
using Array = std::vector<PropertyValue>;
using Dictionary = std::map<std::string, PropertyValue, std::less<>>;

struct Date {
  double secondsSince1970 = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

/// A property-list value, immutable by convention. Strings are bytes: a file name keeps bytes that
/// are not valid UTF-8, and only the wire encodes them. An error occurs only inside the user
/// information of another error.
class PropertyValue {
 public:
  PropertyValue(std::string text) : storage_(std::move(text)) {}
  PropertyValue(std::string_view text) : storage_(std::string(text)) {}
  PropertyValue(const char* text) : storage_(std::string(text)) {}
  PropertyValue(Number number) : storage_(number) {}
  template <class T>
  requires std::is_arithmetic_v<T> PropertyValue(T number) : storage_(Number(number)) {}
  PropertyValue(Data data) : storage_(std::move(data)) {}
  PropertyValue(Date date) : storage_(date) {}
  PropertyValue(Array array) : storage_(std::move(array)) {}
  PropertyValue(Dictionary dictionary) : storage_(std::move(dictionary)) {}
  PropertyValue(Error error);

  /// The content if the value is of that kind, else null.
  const std::string* string() const { return std::get_if<std::string>(&storage_); }
  const Number* number() const { return std::get_if<Number>(&storage_); }
  const Data* data() const { return std::get_if<Data>(&storage_); }
  const Date* date() const { return std::get_if<Date>(&storage_); }
  const Array* array() const { return std::get_if<Array>(&storage_); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&storage_); }
  const Error* error() const;

  /// The platform's class name for this kind of value, as log lines show it.
  const char* className() const;

  friend bool operator==(const PropertyValue& a, const PropertyValue& b);

 private:
  std::variant<std::string, Number, Data, Date, Array, Dictionary, std::shared_ptr<const Error>>
      storage_;
};

/// An error object. It is defined here because errors hold values and a value can be an error.
struct Error {
  std::string domain;
  std::int64_t code = 0;
  Dictionary userInfo;

  friend bool operator==(const Error&, const Error&) = default;
};

/// The string under `key`; null if the key is missing or its value is of another kind.
const std::string* stringIn(const Dictionary& dictionary, std::string_view key);

}  // namespace qrt
