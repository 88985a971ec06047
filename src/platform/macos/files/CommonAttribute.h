// Setting an attribute that objects of all kinds have.
#pragma once

#include <sys/attr.h>
#include <unistd.h>

#include <cstdint>

#include "base/Result.h"
#include "platform/FileStatus.h"
#include "platform/posix/NativeError.h"

namespace qrt::common_attribute {

inline attrlist listOf(attrgroup_t attribute) {
  attrlist list{};
  list.bitmapcount = ATTR_BIT_MAP_COUNT;
  list.commonattr = attribute;
  return list;
}

/// The code for the result of an attribute call. These calls alone fail with "invalid argument"
/// when the file system cannot keep an attribute.
inline PosixCode attributeCode(int result) {
  const auto code = codeFor(result);
  return code == PosixCode::invalidArgument ? PosixCode::notSupported : code;
}

/// `value` has the attribute's type; `options` are those of the call.
template <class Value>
PosixCode set(int folder, const char* name, std::uint32_t options, attrgroup_t attribute,
              Value value) {
  auto list = listOf(attribute);
  return attributeCode(::setattrlistat(folder, name, &list, &value, sizeof value, options));
}

/// The same for an open object.
template <class Value>
PosixCode set(int object, attrgroup_t attribute, Value value) {
  auto list = listOf(attribute);
  return attributeCode(::fsetattrlist(object, &list, &value, sizeof value, 0));
}

/// The flags to write so that an object has the flags `wanted`. Flags that describe how the system
/// stores the contents stay as they are.
inline std::uint32_t flagsToWrite(const FileStatus& current, std::uint32_t wanted) {
  constexpr std::uint32_t ofContents = UF_COMPRESSED | UF_TRACKED | UF_DATAVAULT | SF_DATALESS;
  return (wanted & ~ofContents) | (current.flags & ofContents);
}

/// The outcome of writing `flags`. On a file system that cannot keep flags the call succeeds
/// without effect, so `look` reads the status again when there was a flag to set.
template <class Look>
PosixCode confirmed(PosixCode code, const FileStatus& current, std::uint32_t flags, Look look) {
  const auto set = flags & ~current.flags;
  if (code != PosixCode::success || set == 0) return code;
  const PosixResult<FileStatus> after = look();
  if (!after) return after.error();
  return (after->flags & set) == set ? code : PosixCode::notSupported;
}

}  // namespace qrt::common_attribute
