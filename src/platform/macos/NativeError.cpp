#include "platform/posix/NativeError.h"

#include <cerrno>
#include <system_error>

#include "platform/SystemErrorText.h"

namespace qrt {

// The contract's numbers are this system's own. The system uses two numbers for "not supported";
// the contract has one.
PosixCode contractCode(int nativeError) {
  return static_cast<PosixCode>(nativeError == EOPNOTSUPP ? ENOTSUP : nativeError);
}

std::optional<std::string> systemErrorText(std::int64_t code) {
  if (code < 0 || code > ELAST) return std::nullopt;
  return std::generic_category().message(static_cast<int>(code));
}

}  // namespace qrt
