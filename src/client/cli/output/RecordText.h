// A file-object information record as a line.
#pragma once

#include <string>

#include "base/PropertyValue.h"

namespace qrt {

/// Appends a line: type and permissions, size, local time of the last change and path, aligned. "-"
/// replaces what the record does not have. The time zone is that of the last `tzset`.
void appendRecordText(std::string& lines, const Dictionary& record);

}  // namespace qrt
