// Log lines whose format is checked against its arguments by the compiler.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace qrt {

/// One conversion of a format string: "%{public}@", "%llu", "%02x", ...
struct LogConversion {
  bool isPublic = false;
  char padding = ' ';
  unsigned width = 0;
  char letter = 0;
};

namespace log_format {

/// Reads the conversion after a "%". Advances `rest` past it. A letter of 0 means "not a
/// conversion".
constexpr LogConversion takeConversion(std::string_view& rest) {
  LogConversion conversion;
  constexpr std::string_view publicQualifier = "{public}";
  if (rest.starts_with(publicQualifier)) {
    conversion.isPublic = true;
    rest.remove_prefix(publicQualifier.size());
  }
  if (rest.starts_with('0')) conversion.padding = '0';
  while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
    conversion.width = conversion.width * 10 + static_cast<unsigned>(rest.front() - '0');
    rest.remove_prefix(1);
  }
  while (rest.starts_with('l')) rest.remove_prefix(1);
  if (rest.empty()) return conversion;
  conversion.letter = rest.front();
  rest.remove_prefix(1);
  return conversion;
}

/// The kinds of argument that a log line can show.
enum class Kind { text, signedInteger, unsignedInteger, pointer, unsupported };

template <class T>
constexpr Kind kindOf() {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (std::is_convertible_v<const Plain&, std::string_view>) {
    return Kind::text;
  } else if constexpr (std::is_pointer_v<Plain>) {
    return Kind::pointer;
  } else if constexpr (std::is_integral_v<Plain>) {
    return std::is_signed_v<Plain> ? Kind::signedInteger : Kind::unsignedInteger;
  } else {
    return Kind::unsupported;
  }
}

constexpr bool accepts(char letter, Kind kind) {
  switch (letter) {
    case '@':
    case 's':
      return kind == Kind::text;
    case 'd':
    case 'c':
    case 'C':
      return kind == Kind::signedInteger;
    case 'u':
    case 'x':
      return kind == Kind::unsignedInteger;
    case 'p':
      return kind == Kind::pointer;
    default:
      return false;
  }
}

/// Deliberately not constexpr: reaching it while a format is checked stops the compilation.
inline void formatDoesNotFitItsArguments() {}

}  // namespace log_format

/// An argument, stripped of its type. Refers to the caller's text.
struct LogArgument {
  log_format::Kind kind;
  std::string_view text;
  std::uint64_t bits = 0;
};

template <class T>
LogArgument logArgument(const T& value) {
  constexpr auto kind = log_format::kindOf<T>();
  if constexpr (kind == log_format::Kind::text) {
    return {kind, std::string_view(value), 0};
  } else if constexpr (kind == log_format::Kind::pointer) {
    return {kind, {}, reinterpret_cast<std::uintptr_t>(value)};
  } else {
    return {kind, {}, static_cast<std::uint64_t>(value)};
  }
}

/// A format string in the notation of the platform's log. Making one from a literal whose
/// conversions do not fit `Args` in number or kind does not compile.
template <class... Args>
class LogFormat {
 public:
  consteval LogFormat(const char* text) : text_(text) {
    constexpr log_format::Kind kinds[] = {log_format::kindOf<Args>()...,
                                          log_format::Kind::unsupported};
    std::size_t used = 0;
    std::string_view rest = text_;
    for (auto at = rest.find('%'); at != std::string_view::npos; at = rest.find('%')) {
      rest.remove_prefix(at + 1);
      if (rest.starts_with('%')) {
        rest.remove_prefix(1);
        continue;
      }
      const auto conversion = log_format::takeConversion(rest);
      if (used == sizeof...(Args) || !log_format::accepts(conversion.letter, kinds[used])) {
        log_format::formatDoesNotFitItsArguments();
      }
      ++used;
    }
    if (used != sizeof...(Args)) log_format::formatDoesNotFitItsArguments();
  }

  constexpr std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

/// Renders a checked format. Strings without the public qualifier become "<private>"; numbers are
/// always shown.
std::string formatLogLine(std::string_view format, const LogArgument* arguments);

}  // namespace qrt
