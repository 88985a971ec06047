// The number of requests and property lists.
#pragma once

#include <cstdint>
#include <type_traits>
#include <variant>

namespace qrt {

/// A boolean, signed, unsigned or floating-point number that converts to each of them. It keeps the
/// type that it was made from, because the wire and property lists do so too.
class Number {
 public:
  using Storage = std::variant<bool, std::int64_t, std::uint64_t, double>;

  template <class T>
  requires std::is_arithmetic_v<T> Number(T value) : storage_(widen(value)) {}

  bool asBool() const;
  /// Doubles are truncated toward zero and saturate; NaN is 0. Integers keep their 64 bits.
  std::int64_t asInt64() const;
  std::uint64_t asUInt64() const;
  double asDouble() const;

  const Storage& storage() const { return storage_; }

  /// Compares the values, not the types.
  friend bool operator==(const Number& a, const Number& b);

 private:
  template <class T>
  static Storage widen(T value) {
    if constexpr (std::is_same_v<T, bool>) {
      return value;
    } else if constexpr (std::is_floating_point_v<T>) {
      return static_cast<double>(value);
    } else if constexpr (std::is_signed_v<T>) {
      return static_cast<std::int64_t>(value);
    } else {
      return static_cast<std::uint64_t>(value);
    }
  }

  Storage storage_;
};

}  // namespace qrt
