// A value, or the reason why it is missing.
#pragma once

#include <utility>
#include <variant>

#include "base/PosixCode.h"

namespace qrt {

struct Error;

/// Holds a `T` or an `E`. Reading the one that it does not hold is a programming error and ends the
/// process.
template <class T, class E = Error>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  Result(E error) : state_(std::in_place_index<1>, std::move(error)) {}

  explicit operator bool() const { return state_.index() == 0; }

  T& value() & { return std::get<0>(state_); }
  const T& value() const& { return std::get<0>(state_); }
  T&& value() && { return std::get<0>(std::move(state_)); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

  const E& error() const { return std::get<1>(state_); }

 private:
  std::variant<T, E> state_;
};

/// The result of a platform facility, whose caller turns the code into an error.
template <class T>
using PosixResult = Result<T, PosixCode>;

}  // namespace qrt
