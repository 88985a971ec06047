// The door to the file-system operations.
#pragma once

#include "operations/HandlerTable.h"

namespace qrt {

void registerFileSystemHandlers(HandlerTable& table);

}  // namespace qrt
