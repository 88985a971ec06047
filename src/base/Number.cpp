#include "base/Number.h"

#include <cmath>
#include <limits>

namespace qrt {
namespace {

template <class To>
To saturated(double value) {
  if (std::isnan(value)) return 0;
  // The largest 64-bit integers are not doubles. The next power of two is one: the first value out
  // of range.
  const double end = std::ldexp(1.0, std::numeric_limits<To>::digits);
  if (value >= end) return std::numeric_limits<To>::max();
  if (value <= static_cast<double>(std::numeric_limits<To>::min())) {
    return std::numeric_limits<To>::min();
  }
  return static_cast<To>(value);
}

template <class To>
To integer(const Number::Storage& storage) {
  return std::visit(
      [](auto value) -> To {
        if constexpr (std::is_same_v<decltype(value), double>) {
          return saturated<To>(value);
        } else {
          return static_cast<To>(value);
        }
      },
      storage);
}

}  // namespace

bool Number::asBool() const {
  return std::visit([](auto value) { return value != 0; }, storage_);
}

std::int64_t Number::asInt64() const { return integer<std::int64_t>(storage_); }

std::uint64_t Number::asUInt64() const { return integer<std::uint64_t>(storage_); }

double Number::asDouble() const {
  return std::visit([](auto value) { return static_cast<double>(value); }, storage_);
}

bool operator==(const Number& a, const Number& b) {
  const bool floating =
      std::holds_alternative<double>(a.storage_) || std::holds_alternative<double>(b.storage_);
  if (floating) return a.asDouble() == b.asDouble();
  const auto negative = [](const Number& n) {
    const auto* value = std::get_if<std::int64_t>(&n.storage_);
    return value != nullptr && *value < 0;
  };
  return negative(a) == negative(b) && a.asUInt64() == b.asUInt64();
}

}  // namespace qrt
