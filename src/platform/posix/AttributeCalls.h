// Helpers for the calls on extended attributes, for both ports.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "base/Result.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// Whether a text can be an attribute's name in a system call.
inline bool isAttributeName(std::string_view name) {
  return !name.empty() && name.find('\0') == std::string_view::npos;
}

/// The whole result of a call that returns the needed length when it gets no buffer. Asks again
/// when the result has grown between the two calls.
template <class Bytes, class Call>
PosixResult<Bytes> delivered(Call call) {
  for (;;) {
    const auto wanted = call(nullptr, 0);
    if (wanted < 0) return lastError();
    Bytes bytes(static_cast<std::size_t>(wanted), 0);
    if (wanted == 0) return bytes;
    const auto length = call(bytes.data(), bytes.size());
    if (length < 0 && errno == ERANGE) continue;
    if (length < 0) return lastError();
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
  }
}

}  // namespace qrt
