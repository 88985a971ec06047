// The operation that changes preferences of other users.
#pragma once

#include "base/Error.h"
#include "operations/HandlerTable.h"

namespace qrt {

struct Platform;

/// Code 10: a preference setting could not be updated.
Error preferenceSettingError();

/// Adds the handler of "modify-preferences". The platform outlives the table.
void registerPreferenceHandlers(HandlerTable& handlers, const Platform& platform);

}  // namespace qrt
