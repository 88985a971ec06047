// A value or the reason why there is none.
#pragma once

#include <utility>
#include <variant>

#include "base/PosixCode.h"

namespace qrt {

struct Error;

/// Holds a `T` or an `E`, never neither. Asking for the one that is not there is a programming
/// error and ends the process.
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

/// What a platform facility answers: it knows the number, its caller knows what the number means.
template <class T>
using PosixResult = Result<T, PosixCode>;

}  // namespace qrt
