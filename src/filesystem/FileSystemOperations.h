// The door to the file-system operations.
#pragma once

#include "operations/HandlerTable.h"
#include "platform/Platform.h"

namespace qrt {

/// `platform` outlives the table.
void registerFileSystemHandlers(HandlerTable& table, const Platform& platform);

}  // namespace qrt
