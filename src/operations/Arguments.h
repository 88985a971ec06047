// Reading the arguments of a request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "base/PropertyValue.h"

namespace qrt {
namespace arguments {

/// Texts and data are passed by reference, numbers by value.
template <class T>
using View =
    std::conditional_t<std::is_same_v<T, std::string> || std::is_same_v<T, Data>, const T&, T>;

template <class T>
View<T> as(const PropertyValue& argument) {
  if constexpr (std::is_same_v<T, std::string>) {
    return *argument.string();
  } else if constexpr (std::is_same_v<T, Data>) {
    return *argument.data();
  } else if constexpr (std::is_same_v<T, Number>) {
    return *argument.number();
  } else if constexpr (std::is_same_v<T, bool>) {
    return argument.number()->asBool();
  } else {
    static_assert(std::is_unsigned_v<T>);
    return static_cast<T>(argument.number()->asUInt64());  // The lower bits when T is narrower.
  }
}

}  // namespace arguments

/// The first arguments of an operation, typed, e.g.
///   const auto [path, isOn] = unpack<std::string, bool>(values);
/// The request pipeline has checked their number and their kinds against the catalogue. Texts and
/// data refer to `values`.
template <class... T>
std::tuple<arguments::View<T>...> unpack(const Array& values) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return std::tuple<arguments::View<T>...>(arguments::as<T>(values[I])...);
  }
  (std::index_sequence_for<T...>());
}

}  // namespace qrt
