// Names of objects that exist only during an operation.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// A prefix for the purpose of the object, and a random part, so that no other process can guess
/// the name and take it first.
class TemporaryName {
 public:
  static constexpr std::size_t randomPartLength = 16;

  explicit TemporaryName(std::string prefix) : prefix_(std::move(prefix)) {}

  std::string make() const;

  /// True for the names that `make` can return.
  bool matches(std::string_view name) const;

 private:
  std::string prefix_;
};

}  // namespace qrt
