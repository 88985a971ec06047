#include "platform/LogFormat.h"

namespace qrt {
namespace {

std::string hexadecimal(std::uint64_t value) {
  std::string digits;
  do {
    digits.insert(digits.begin(), "0123456789abcdef"[value & 0xf]);
    value >>= 4;
  } while (value != 0);
  return digits;
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
      return hexadecimal(argument.bits);
    case 'p':
      return "0x" + hexadecimal(argument.bits);
    default:
      return std::to_string(argument.bits);
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
