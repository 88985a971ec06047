// A file-object information record as a line.
#pragma once

#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// Type and permissions, size, local time of the last change and path, aligned. "-" replaces what
/// the record does not have. Ends with a line feed.
std::string recordText(const Dictionary& record);

}  // namespace qrt
