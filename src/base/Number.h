// The one kind of number that requests and property lists know.
#pragma once

#include <cstdint>
#include <type_traits>
#include <variant>

namespace qrt {

/// A boolean, signed, unsigned or floating-point number that can be asked for as any of them.
/// It remembers how it was made, because the wire and property lists keep the difference.
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

  /// Numeric equality, whatever the representation.
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
