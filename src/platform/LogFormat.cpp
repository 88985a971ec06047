#include "platform/LogFormat.h"

#include <charconv>

namespace qrt {
namespace {

std::string digits(std::uint64_t value, int base) {
  char buffer[24];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr;
  return {buffer, end};
}

std::string rendered(const LogConversion& conversion, const LogArgument& argument) {
  switch (conversion.letter) {
    case '@':
    case 's':
      return conversion.isPublic ? std::string(argument.text) : "<private>";
    case 'd':
      return std::to_string(static_cast<std::int64_t>(argument.bits));
    case 'c':
    case 'C':
      return {static_cast<char>(argument.bits)};
    case 'x':
      return digits(argument.bits, 16);
    case 'p':
      return "0x" + digits(argument.bits, 16);
    default:
      return digits(argument.bits, 10);
  }
}

}  // namespace

std::string formatLogLine(std::string_view format, const LogArgument* arguments) {
  std::string line;
  for (auto at = format.find('%'); at != std::string_view::npos; at = format.find('%')) {
    line.append(format.substr(0, at));
    format.remove_prefix(at + 1);
    if (format.starts_with('%')) {
      line.push_back('%');
      format.remove_prefix(1);
      continue;
    }
    const auto conversion = log_format::takeConversion(format);
    const auto text = rendered(conversion, *arguments++);
    if (text.size() < conversion.width) {
      line.append(conversion.width - text.size(), conversion.padding);
    }
    line.append(text);
  }
  line.append(format);
  return line;
}

}  // namespace qrt
