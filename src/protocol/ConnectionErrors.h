// Failures of a connection between a client and the daemon.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "base/Error.h"

namespace qrt {

/// Codes of `cocoaErrorDomain`.
namespace connection_error {
/// It broke while a call was under way.
inline constexpr std::int64_t interrupted = 4097;
/// It cannot be opened or used, or the daemon does not answer.
inline constexpr std::int64_t invalid = 4099;
}  // namespace connection_error

inline Error connectionError(std::int64_t code, std::string description) {
  return {std::string(cocoaErrorDomain),
          code,
          {{std::string(localizedDescriptionKey), std::move(description)}}};
}

}  // namespace qrt
