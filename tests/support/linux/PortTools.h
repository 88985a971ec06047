// This system's tools and file names, for tests that run on every port.
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace qrt::test {

/// Functions that scripts of `ScratchFolder` may call:
///   flag i|a|ia FILE           makes it immutable or append-only
///   unflag FILE...             takes both away, below folders too
///   grant FILE                 gives it an access control list
///   lists FILE                 prints that list
///   attribute NAME VALUE FILE  sets an extended attribute, of a link itself
///   attributes FILE            prints their names and values
///   setrecord HEX FILE         sets the record of its classic attributes
///   record FILE                prints it in hexadecimal digits
inline constexpr const char* shellWords = R"sh(
flag() { chattr "+$1" "$2"; }
unflag() { chattr -R -f -ia "$@" || true; }
grant() { setfacl -m u:77:rwx,g::- "$1"; }
lists() { getfacl -nEcp "$1"; }
attribute() { setfattr -h -n "$1" -v "$2" "$3"; }
attributes() { getfattr --absolute-names -h -d -m - -e hex "$1" | grep = || true; }
setrecord() { setfattr -n user.com.apple.FinderInfo -v "0x$1" "$2"; }
record() { getfattr --absolute-names -n user.com.apple.FinderInfo -e hex "$1" | sed -n 's/.*=0x//p'; }
)sh";

/// Whatever the hard limit says.
inline constexpr rlim_t mostDescriptors = RLIM_INFINITY;

/// Opens a folder as a base for names; its own names cannot be read.
inline constexpr int openForNames = O_PATH;

/// What `mknod` makes a whiteout of.
inline constexpr mode_t whiteoutMode = S_IFCHR;

}  // namespace qrt::test
