// Access control lists in their external form.
#include <cstdlib>

#include "platform/AccessControl.h"
#include "platform/linux/LinuxFacilities.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const auto lists = qrt::makeAccessControl();
  // A copy of its own, so that a read past its end is found.
  const auto list = lists->internalized(qrt::Data(bytes, bytes + size));
  if (!list) return 0;
  // A list that was read can be written, and is then read the same way.
  const auto form = lists->externalized(*list);
  if (!form) std::abort();
  const auto again = lists->internalized(*form);
  if (!again || again->has_value() != list->has_value()) std::abort();
  return 0;
}
