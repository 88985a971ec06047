// A file-object information record as a line.
#pragma once

#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// Type and permissions, readable size, time of the last change (local) and path, aligned; "-"
/// where the record says nothing. Ends with a line feed.
std::string recordText(const Dictionary& record);

}  // namespace qrt
