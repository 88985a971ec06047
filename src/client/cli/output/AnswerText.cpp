#include "client/cli/output/AnswerText.h"

#include <fmt/format.h>

#include <cstdint>

#include "base/Printable.h"
#include "client/cli/output/Json.h"
#include "client/cli/output/SizeText.h"

namespace qrt {
namespace {

struct Meaning {
  std::string_view key;
  std::int64_t code;
  std::string_view words;
};

constexpr Meaning meanings[] = {
    {"ObjectExistence", 0, "nothing there"},
    {"ObjectExistence", 1, "folder"},
    {"ObjectExistence", 2, "object that is not a folder"},
};

std::string exactSize(std::uint64_t bytes) {
  return bytes < 1000 ? sizeText(bytes) : fmt::format("{} ({} bytes)", sizeText(bytes), bytes);
}

}  // namespace

std::string answerText(std::string_view key, const PropertyValue& value) {
  if (const auto* text = value.string()) return printable(*text);
  if (key == "Size" && value.number()) return exactSize(value.number()->asUInt64());
  for (const auto& meaning : meanings) {
    const bool isMeant =
        meaning.key == key && value.number() && value.number()->asInt64() == meaning.code;
    if (isMeant) return std::string(meaning.words);
  }
  return jsonOf(value).dump();
}

}  // namespace qrt
