// The outcome of an operation: nothing, or an error object.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/PosixCode.h"
#include "base/PropertyValue.h"
#include "base/Result.h"

namespace qrt {

/// Error domains of the platform.
inline constexpr std::string_view posixErrorDomain = "NSPOSIXErrorDomain";
inline constexpr std::string_view osStatusErrorDomain = "NSOSStatusErrorDomain";
inline constexpr std::string_view cocoaErrorDomain = "NSCocoaErrorDomain";

/// Keys of an error's user information that the platform defines.
inline constexpr std::string_view localizedDescriptionKey = "NSLocalizedDescription";
inline constexpr std::string_view localizedRecoverySuggestionKey = "NSLocalizedRecoverySuggestion";
inline constexpr std::string_view filePathErrorKey = "NSFilePath";
inline constexpr std::string_view destinationFilePathErrorKey = "NSDestinationFilePath";
inline constexpr std::string_view underlyingErrorKey = "NSUnderlyingError";

/// Nothing on success, else the reason. The result of an inspection travels as an error of code 0
/// with the result as its user information.
class [[nodiscard]] Outcome : public std::optional<Error> {
 public:
  using std::optional<Error>::optional;

  friend bool operator==(const Outcome& a, const Outcome& b) {
    return a.has_value() == b.has_value() && (!a || *a == *b);
  }
  friend bool operator==(const Outcome& outcome, std::nullopt_t) { return !outcome.has_value(); }
  friend bool operator==(const Outcome& outcome, const Error& error) {
    return outcome && *outcome == error;
  }
};

inline constexpr std::nullopt_t success = std::nullopt;

/// The code that log lines show: 0 for success.
inline std::int64_t codeOf(const Outcome& outcome) { return outcome ? outcome->code : 0; }

Error posixError(PosixCode code, Dictionary userInfo = {});
/// With the path that the error is about.
Error posixError(PosixCode code, std::string_view path);
Error osStatusError(std::int32_t status);

/// A POSIX error unless the code is `PosixCode::success`.
Outcome posixOutcome(PosixCode code);

bool isPosixError(const Error& error, PosixCode code);

/// The localized description; a text made of domain and code if the error has no description.
std::string descriptionOf(const Error& error);

}  // namespace qrt
