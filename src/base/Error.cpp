#include "base/Error.h"

namespace qrt {

Error posixError(PosixCode code, Dictionary userInfo) {
  return {std::string(posixErrorDomain), number(code), std::move(userInfo)};
}

Error posixError(PosixCode code, std::string_view path) {
  return posixError(code, {{std::string(filePathErrorKey), path}});
}

Error osStatusError(std::int32_t status) { return {std::string(osStatusErrorDomain), status, {}}; }

Outcome posixOutcome(PosixCode code) {
  if (code == PosixCode::success) return success;
  return posixError(code);
}

bool isPosixError(const Error& error, PosixCode code) {
  return error.domain == posixErrorDomain && error.code == number(code);
}

std::string descriptionOf(const Error& error) {
  if (const auto* text = stringIn(error.userInfo, localizedDescriptionKey)) return *text;
  return error.domain + " error " + std::to_string(error.code);
}

}  // namespace qrt
