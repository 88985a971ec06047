// The door to the file-system operations.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

/// Adds the handlers of the operations on files.
void registerFileSystemHandlers(HandlerTable& table);

}  // namespace qrt
