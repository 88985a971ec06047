#include "client/cli/output/Color.h"

#include <fmt/format.h>

namespace qrt {
namespace {

constexpr int parameterOf(Color color) {
  switch (color) {
    case Color::red:
      return 31;
    case Color::yellow:
      return 33;
    case Color::green:
      return 32;
  }
  return 0;
}

}  // namespace

std::string colored(Color color, std::string_view text) {
  return fmt::format("\x1B[{}m{}\x1B[0m", parameterOf(color), text);
}

}  // namespace qrt
