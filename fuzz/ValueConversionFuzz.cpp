// Conversion of argument texts to values.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "operations/ArgumentConverters.h"

using qrt::CoreFoundationType;

namespace {

std::string textOf(const qrt::Data& bytes) {
  constexpr const char* digits = "0123456789ABCDEF";
  std::string text;
  for (const auto byte : bytes) text.append({'%', digits[byte >> 4], digits[byte & 15]});
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(bytes, bytes + size);
  using enum CoreFoundationType;
  for (const auto type : {boolean, number, string, other}) {
    const auto value = copyCoreFoundationValueWithType(type, text);
    if (type == string && value != text) std::abort();
  }

  const auto value = copyCoreFoundationValueWithType(data, text);
  if (!value) return 0;
  if (value->data()->size() > text.size() / 3) std::abort();
  // Bytes that were read can be written and read again.
  if (copyCoreFoundationValueWithType(data, textOf(*value->data())) != value) std::abort();
  return 0;
}
