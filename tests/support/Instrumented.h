// Whether this build watches itself at the price of time and memory.
#pragma once

namespace qrt::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isInstrumented = true;
#else
inline constexpr bool isInstrumented = false;
#endif

}  // namespace qrt::test
