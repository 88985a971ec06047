#include "platform/posix/propertylists/PropertyListTally.h"

#include "platform/PropertyLists.h"

namespace qrt {

using Problem = PropertyListProblem;

PropertyListCheck PropertyListTally::add(std::size_t bytes) {
  if (++objects_ > maximumPropertyListObjects) return Problem{"it has too many objects"};
  bytes_ += bytes;
  if (bytes_ > maximumPropertyListBytes) return Problem{"its text and data are too large"};
  return {};
}

PropertyListCheck PropertyListTally::begin() {
  if (++depth_ > maximumPropertyListDepth) return Problem{"it is nested too deeply"};
  return add(0);
}

}  // namespace qrt
