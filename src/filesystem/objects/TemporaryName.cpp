#include "filesystem/objects/TemporaryName.h"

#include <random>

namespace qrt {
namespace {

constexpr std::string_view digits = "0123456789abcdef";

}  // namespace

std::string TemporaryName::make() const {
  std::random_device random;
  std::uniform_int_distribution<std::size_t> anyDigit(0, digits.size() - 1);
  auto name = prefix_;
  for (std::size_t i = 0; i < randomPartLength; ++i) name += digits[anyDigit(random)];
  return name;
}

bool TemporaryName::matches(std::string_view name) const {
  return name.size() == prefix_.size() + randomPartLength && name.starts_with(prefix_) &&
         name.find_first_not_of(digits, prefix_.size()) == std::string_view::npos;
}

}  // namespace qrt
