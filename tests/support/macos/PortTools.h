// This system's tools and file names, for tests that run on every port.
#pragma once

#include <fcntl.h>
#include <limits.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace qrt::test {

/// See the other port's.
inline constexpr const char* shellWords = R"sh(
flag() { case $1 in i) chflags uchg "$2";; a) chflags uappnd "$2";; *) chflags uchg,uappnd "$2";; esac; }
unflag() { chflags -R nouchg,nouappnd "$@" || true; }
grant() { chmod +a "everyone allow read" "$1"; }
lists() { ls -led "$1" | tail -n +2; }
attribute() { xattr -s -w "$1" "$2" "$3"; }
attributes() { xattr -s -l -x "$1"; }
setrecord() { xattr -wx com.apple.FinderInfo "$1" "$2"; }
record() {
  if xattr -p com.apple.FinderInfo "$1" >/dev/null 2>&1; then
    xattr -px com.apple.FinderInfo "$1" | tr -d ' \n' | tr A-F a-f
    echo
  fi
}
)sh";

inline constexpr rlim_t mostDescriptors = OPEN_MAX;

inline constexpr int openForNames = O_EVTONLY;

inline constexpr mode_t whiteoutMode = S_IFWHT;

}  // namespace qrt::test
