#include "client/cli/StoppedOperation.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "client/cli/output/SystemMessages.h"

namespace qrt {
namespace {

struct Consequence {
  std::string_view identifier;
  std::string_view text;
};

constexpr Consequence consequences[] = {
    {"delete-fileobjects", "what was deleted stays deleted"},
    {"delete-foldercontents", "what was deleted stays deleted"},
    {"prop-permissions", "what was changed stays changed"},
    {"execute-utility", "what the utility did stays done"},
    {"create-installmedia", "the volume is not an install medium"},
};

}  // namespace

Error stoppedError(std::string_view identifier) {
  const auto* const found =
      std::find_if(std::begin(consequences), std::end(consequences),
                   [&](const Consequence& row) { return row.identifier == identifier; });
  // All others search.
  const auto text = found == std::end(consequences) ? "there may be more to find" : found->text;
  return describedError(PosixCode::canceled, fmt::format("stopped; {}", text));
}

}  // namespace qrt
