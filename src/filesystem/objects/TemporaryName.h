// Names of objects that are there only while an operation works on them.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// A prefix that says what the object is for, and a random part that cannot be guessed and so taken
/// before.
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
