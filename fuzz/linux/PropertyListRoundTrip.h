// What holds for every property list that a reader accepted.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "platform/PropertyLists.h"

namespace qrt {

/// What can be written as XML is read back, and then written the same way. Not compared as values:
/// NaN is unlike itself, and XML has no fractions of a second.
inline void checkRoundTrip(const Result<PropertyValue>& list) {
  if (!list) return;
  const auto written = writeXmlPropertyList(*list);
  if (!written) return;
  const auto read =
      readPropertyList({reinterpret_cast<const std::uint8_t*>(written->data()), written->size()});
  const auto again = read ? writeXmlPropertyList(*read) : Result<std::string>(read.error());
  if (again && *again == *written) return;
  std::fprintf(stderr, "written:\n%s\nthen:\n%s\n", written->c_str(),
               again ? again->c_str() : descriptionOf(again.error()).c_str());
  std::abort();
}

}  // namespace qrt
