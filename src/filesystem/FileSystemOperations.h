// The door to the file-system operations.
#pragma once

#include "operations/HandlerTable.h"
#include "platform/Platform.h"

namespace qrt::FileSystemOperations {

/// `platform` outlives the table.
void registerHandlers(HandlerTable& table, const Platform& platform);

}  // namespace qrt::FileSystemOperations
