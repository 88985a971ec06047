// What the calls for extended attributes have in common on both ports.
#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "base/Result.h"
#include "platform/posix/NativeError.h"

namespace qrt {

/// Whether a text can be handed to the system as an attribute's name.
inline bool isAttributeName(std::string_view name) {
  return !name.empty() && name.find('\0') == std::string_view::npos;
}

/// What a call delivers that tells the length when it is given no room. The length may have grown
/// by the time of the second call; then it is asked for again.
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
